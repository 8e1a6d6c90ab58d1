#pragma once

#include <string>

#include "CVT/BVarBind.h"
#include "agent/cvtwalk/data/ServedObject.h"

namespace cvtwalk {

/// A value as text: as an SNMP client prints it, in a table's cell, and as JSON.
///
/// No output holds a control character, whatever the value is. Refers to both arguments, which must outlive it.
class ValueText {
public:
    ValueText(const CVT::BVarBind& value, const ServedObject& object) : m_value(value), m_object(object) {}

    /// With the type: "INTEGER: running(2)", "STRING: \"eth0\"", "Hex-STRING: 00 01", "Timeticks: (100) 0:00:01.00".
    std::string Typed() const;
    /// Without type and quotes: "running", "eth0", "00 01", "0:00:01.00".
    std::string Bare() const;
    /// Whether Bare is a number, which a table aligns to the right.
    bool IsNumber() const;
    /// The members type, value and, where there is one, enum (the name of an enumerated value) or hex (the octets, when
    /// value does not represent them exactly), separated by commas. A date reads 2024-03-10T23:30:00.000-02:00.
    std::string JsonMembers() const;

private:
    std::string OctetsTyped() const;
    std::string OctetsBare() const;
    std::string OctetsJson() const;

    const CVT::BVarBind& m_value;
    const ServedObject& m_object;
};

}  // namespace cvtwalk
