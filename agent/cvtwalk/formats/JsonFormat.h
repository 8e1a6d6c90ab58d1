#pragma once

#include "agent/cvtwalk/formats/InstanceFormat.h"

namespace cvtwalk {

/// One JSON array with an object for each instance, one to a line:
///
///     {"oid":"1.3.6.1.2.1.25.2.2.0","name":"hrMemorySize","instance":"0","type":"INTEGER","value":1234}
///
/// A value that is not measured yet is null, with a member "note".
class JsonFormat final : public InstanceFormat {
public:
    void Begin(std::string& out) override;
    void End(std::string& out) override;

protected:
    void Add(const CVT::BVarBind& instance, const ServedObject& object, bool measured, std::string& out) override;

private:
    bool m_first = true;
};

}  // namespace cvtwalk
