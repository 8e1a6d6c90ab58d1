#pragma once

#include <map>
#include <string>
#include <utility>

#include "CVT/INonVolatile.h"
#include "CVT/TMutex.h"
#include "CVT/ThreadAnnotations.h"

namespace CVT {

/// A non-volatile store in a text file. The first line names the format. Each further line holds one value, "section
/// key value", separated by tabs. Tabs, line feeds and backslashes in the texts are written \t, \n and \\, and a # at
/// the start of the section \#. Lines of any other form, and those that begin with a #, are ignored and disappear from
/// the file at the next Save.
///
/// The file is read once, at construction. Save writes a new file beside it and renames it into place, so a crash
/// leaves either the old content or the new. Both files have mode 0600. When the file cannot be read or created, the
/// store starts empty, works in memory only, and Save returns false.
class CVT_API BFileNV final : public INonVolatile {
public:
    /// `file` is relative to the working directory unless it begins with a slash. With `create` a missing file is
    /// created at once, empty but for its first line.
    BFileNV(const char* file, bool create);
    ~BFileNV() override;
    BFileNV(const BFileNV&) = delete;
    BFileNV& operator=(const BFileNV&) = delete;

    bool Read(const BString& section, const BString& key, BString& value) override;
    void Write(const BString& section, const BString& key, const BString& value) override;
    bool Remove(const BString& section, const BString& key) override;
    bool Save() override;

private:
    using Name = std::pair<std::string, std::string>;  // section, key

    bool Load() CVT_REQUIRES(m_lock);
    bool Store() CVT_REQUIRES(m_lock);

    TMutex m_lock{false};
    const std::string m_file;
    std::map<Name, std::string> m_values CVT_GUARDED_BY(m_lock);
};

}  // namespace CVT
