#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

/// A JSON value, read strictly: text that the grammar does not allow, or that is not UTF-8, is rejected.
struct JsonValue {
    using Array = std::vector<JsonValue>;
    using Object = std::map<std::string, JsonValue>;

    std::variant<std::nullptr_t, bool, double, std::string, Array, Object> value = nullptr;

    /// Returns nothing unless the whole text is one value, apart from blanks around it.
    static std::optional<JsonValue> Read(std::string_view text);

    const Array& Items() const { return std::get<Array>(value); }
    /// A member of an object. Null when it has no such member.
    const JsonValue* Member(const std::string& name) const;
    /// The text of a member that is a string; otherwise a marker that no test expects.
    std::string Text(const std::string& name) const;
    /// The number of a member that is a number; otherwise NaN.
    double Number(const std::string& name) const;
};
