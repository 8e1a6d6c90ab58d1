#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace cvtwalk {

/// What docs/objects.md says about each object. The document is compiled into the program.
class ObjectMeanings {
public:
    struct Meaning {
        std::string object;
        std::string unit;       ///< range, unit, and what is actually served
        std::string source;     ///< where the value comes from
        std::string refreshed;  ///< when it is refreshed
    };

    /// The rows of the tables whose first column is "object", as plain text.
    static std::vector<Meaning> Parse(std::string_view document);
    /// The meanings from docs/objects.md.
    static std::vector<Meaning> All() { return Parse(Document()); }

private:
    static std::string_view Document();
};

}  // namespace cvtwalk
