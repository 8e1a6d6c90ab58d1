#pragma once

#include <map>
#include <string>
#include <utility>

#include "CVT/INonVolatile.h"
#include "CVT/TMutex.h"
#include "CVT/ThreadAnnotations.h"

namespace CVT {

/// A non-volatile store in a text file: a first line that names the format, then one line for each value, "section key
/// value" separated by tabs; tabs, line feeds and backslashes in the texts are written \t, \n and \\, and a # that begins
/// the section \#. Lines that do not read so, and those that begin with a #, are kept out of the store, and out of the
/// file at the next Save.
///
/// The file is read once, at construction. A Save writes a new file beside it and renames it into place, so that a crash
/// leaves the old content or the new; both have mode 0600. A file that cannot be read or made leaves the store empty, in
/// memory, and Save gives false.
class CVT_API BFileNV final : public INonVolatile {
public:
    /// `file` is relative to the working directory unless it begins with a slash. With `create` a missing file is made at
    /// once, empty but for its first line.
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
