#pragma once

// A walk as readable text: a heading for each table, a line for each row.

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "CVT/BMibEngine.h"
#include "CVT/BMibImpl.h"
#include "CVT/BRequest.h"
#include "CVT/BRqHndlrEntry.h"
#include "tests/support/Walk.h"

/// RFC 2790's name of a device type or a file-system type; the number of any other.
inline std::string NameOf(const CVT::BObjectIdentifier& identifier) {
    static const std::map<std::string_view, std::string_view> names = {
        {"1.3.6.1.2.1.25.3.1.3", "hrDeviceProcessor"}, {"1.3.6.1.2.1.25.3.1.4", "hrDeviceNetwork"},
        {"1.3.6.1.2.1.25.3.1.5", "hrDevicePrinter"},   {"1.3.6.1.2.1.25.3.1.6", "hrDeviceDiskStorage"},
        {"1.3.6.1.2.1.25.3.1.13", "hrDeviceKeyboard"}, {"1.3.6.1.2.1.25.3.1.15", "hrDeviceParallelPort"},
        {"1.3.6.1.2.1.25.3.1.16", "hrDevicePointing"}, {"1.3.6.1.2.1.25.3.1.17", "hrDeviceSerialPort"},
        {"1.3.6.1.2.1.25.3.9.1", "hrFSOther"},         {"1.3.6.1.2.1.25.3.9.2", "hrFSUnknown"},
        {"1.3.6.1.2.1.25.3.9.4", "hrFSSys5FS"},        {"1.3.6.1.2.1.25.3.9.5", "hrFSFat"},
        {"1.3.6.1.2.1.25.3.9.6", "hrFSHPFS"},          {"1.3.6.1.2.1.25.3.9.12", "hrFSiso9660"},
        {"1.3.6.1.2.1.25.3.9.14", "hrFSNFS"},          {"1.3.6.1.2.1.25.3.9.16", "hrFSAFS"},
        {"1.3.6.1.2.1.25.3.9.23", "hrFSLinuxExt2"},
    };
    const CVT::BString dotted = identifier.ToString();
    const auto name = names.find(dotted.View());
    return std::string(name == names.end() ? dotted.View() : name->second);
}

/// Quoted, unless it is a date; characters that are not printable in hexadecimal.
inline std::string TextOf(const CVT::BOctetString& octets) {
    static constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text = "\"";
    for (const char character : octets.View()) {
        const auto octet = static_cast<unsigned char>(character);
        if (octet < ' ' || octet > '~' || octet == '"' || octet == '\\') {
            text += {'\\', 'x', kDigits[octet >> 4U], kDigits[octet & 15U]};
        } else {
            text += character;
        }
    }
    text += '"';
    return text == R"("\x00\x01\x01\x00\x00\x00\x00\x00")" ? "never" : text;
}

/// The value, with its name when the column is an enumeration.
inline std::string TextOf(const CVT::BVarBind& varBind, const CVT::BConstraintEntry* constraints) {
    switch (varBind.type) {
        case CVT::kObjectIdentifier: return NameOf(varBind.identifier);
        case CVT::kOctetString: return TextOf(varBind.octets);
        case CVT::kInteger: break;
        default: return std::to_string(varBind.number);
    }
    const unsigned int column = varBind.name[10];
    unsigned int listed = 0;
    for (; constraints->kind != CVT::kEndOfConstraints; ++constraints) {
        if (constraints->kind != CVT::kEnumValue) {
            listed = constraints->kind == CVT::kEnumeration ? constraints->column : 0;
        } else if (listed == column && constraints->low == varBind.integer) {
            return constraints->label + ("(" + std::to_string(varBind.integer) + ")");
        }
    }
    return std::to_string(varBind.integer);
}

/// All tables of 1.3.6.1.2.1.25.3 that have rows, as one walk finds them. Each row has all columns, and each name is
/// greater than the previous one.
inline std::string WalkText(CVT::BMibEngine& engine) {
    constexpr unsigned int kIndexAt = 11;
    std::string text;
    const std::vector<CVT::BVarBind> walk = Walk(engine, "1.3.6.1.2.1.25.3");
    for (std::size_t i = 1; i < walk.size(); ++i) {
        EXPECT_LT(walk[i - 1].name, walk[i].name);
    }
    for (CVT::BMibImpl* const group : engine.Groups()) {
        std::map<CVT::BObjectIdentifier, std::vector<std::string>> rows;
        for (const CVT::BVarBind& varBind : walk) {
            if (varBind.name.StartsWith(group->Oid()) && varBind.name.NumArcs() > kIndexAt) {
                const CVT::BObjectIdentifier index(varBind.name.Arcs().subspan(kIndexAt));
                rows[index].push_back(TextOf(varBind, group->GetConstraintMap()));
            }
        }
        if (rows.empty()) {
            continue;
        }
        text += (text.empty() ? "" : "\n") + std::string(group->Name().View().substr(19)) + "\nindex";
        std::size_t columns = 0;
        for (const CVT::BRqHndlrEntry* column = group->GetRqHndlrMap(); !column->IsEnd(); ++column, ++columns) {
            text += std::string("  ") + column->name;
        }
        text += '\n';
        for (const auto& [index, values] : rows) {
            EXPECT_EQ(values.size(), columns) << index.ToString().View();
            text += index.ToString().View();
            for (const std::string& value : values) {
                text += "  " + value;
            }
            text += '\n';
        }
    }
    return text;
}
