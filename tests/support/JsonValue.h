#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

/// A JSON value, read strictly: whatever the grammar does not allow, or is not UTF-8, is refused.
struct JsonValue {
    using Array = std::vector<JsonValue>;
    using Object = std::map<std::string, JsonValue>;

    std::variant<std::nullptr_t, bool, double, std::string, Array, Object> value = nullptr;

    /// Nothing unless the whole text is one value, blanks around it apart.
    static std::optional<JsonValue> Read(std::string_view text);

    const Array& Items() const { return std::get<Array>(value); }
    /// Of an object. Null when it has no such member.
    const JsonValue* Member(const std::string& name) const;
    /// The text of a member that is a string; a mark that no test expects when it is none.
    std::string Text(const std::string& name) const;
    /// The number of a member that is one; NaN when it is none.
    double Number(const std::string& name) const;
};
