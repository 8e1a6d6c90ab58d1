// docs/objects.md compared with the declarations of the shipped library: both list the same objects and agree on each.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <regex>
#include <string>
#include <vector>

#include "CVT/TextualConventions.h"
#include "tests/support/LoadedModule.h"
#include "tests/support/ScratchFolder.h"

namespace {

constexpr char kDocument[] = CVHOST_SOURCE_DIR "/docs/objects.md";
constexpr std::string_view kRoot = "1.3.6.1.2.1.25.";

/// The properties of an object that both must agree on, by the object's name.
struct Object {
    std::string group;  ///< the heading above it: "hrStorageTable: 2.3"
    std::string oid;    ///< below the root; for a scalar with its .0
    std::string type;
    std::string access;
    std::string range;  ///< empty when none is declared

    bool operator==(const Object&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Object& object) {
    return out << "[" << object.group << "] " << object.oid << " | " << object.type << " | " << object.access << " | "
               << object.range;
}

std::string BelowRoot(const std::string& oid) {
    EXPECT_TRUE(oid.starts_with(kRoot)) << oid;
    return oid.substr(std::min(oid.size(), kRoot.size()));
}

// What the library declares.

const char* TypeName(unsigned int type) {
    switch (type) {
        case CVT::kInteger: return "INTEGER";
        case CVT::kOctetString: return "OCTET STRING";
        case CVT::kObjectIdentifier: return "OBJECT IDENTIFIER";
        case CVT::kCounter32: return "Counter32";
        case CVT::kGauge32: return "Gauge32";
        case CVT::kTimeTicks: return "TimeTicks";
        default: return "?";
    }
}

std::string Range(int low, int high, unsigned int type) {
    return std::to_string(low) + ".." + std::to_string(high) + (type == CVT::kOctetString ? " octets" : "");
}

std::string Enumeration(const CVT::BConstraintEntry* value) {
    std::string list;
    for (; value->kind == CVT::kEnumValue; ++value) {
        list += (list.empty() ? "" : ", ") + std::string(value->label) + "(" + std::to_string(value->low) + ")";
    }
    return list;
}

/// Adds to `object` what a constraint entry says about its column.
void Constrain(Object& object, const CVT::BConstraintEntry* entry, unsigned int type,
               const CVT::BConstraintEntry* conventions) {
    switch (entry->kind) {
        case CVT::kEnumeration: object.range = Enumeration(entry + 1); break;
        case CVT::kRange: object.range = Range(entry->low, entry->high, type); break;
        case CVT::kEnumConvention:
            EXPECT_STREQ(entry->label, CVT::cszTruthValue);
            object.type += std::string(" (") + entry->label + ")";
            object.range = "true(1), false(2)";
            break;
        case CVT::kConvention: {
            object.type += std::string(" (") + entry->label + ")";
            const CVT::BConstraintEntry* const convention = CVT::FindConvention(entry->label, conventions);
            ASSERT_NE(convention, nullptr) << entry->label;
            object.range = Range(convention->low, entry->high == 0 ? convention->high : entry->high, type);
            break;
        }
        default: break;
    }
}

Object Declared(CVT::BMibImpl& group, const CVT::BRqHndlrEntry& column, const CVT::BConstraintEntry* conventions) {
    const CVT::IMibInfo& info = *group.GetIMibInfo();
    const std::string name = info.Name().c_str();
    std::string oid = info.Oid().ToString().c_str();
    std::string groupOid = BelowRoot(oid);
    if (info.IsTable()) {
        groupOid.resize(groupOid.rfind('.'));  // without the entry's arc
    }
    oid += "." + std::to_string(column.subId) + (info.IsTable() ? "" : ".0");
    Object object;
    object.group = name.substr(name.rfind('.') + 1) + ": " + groupOid;
    object.oid = BelowRoot(oid);
    object.type = TypeName(column.type);
    object.access = column.access == CVT::kReadWrite ? "rw" : "r";
    for (const CVT::BConstraintEntry* entry = group.GetConstraintMap(); entry->kind != CVT::kEndOfConstraints;
         ++entry) {
        if (entry->column == column.subId) {
            Constrain(object, entry, column.type, conventions);
        }
    }
    return object;
}

std::map<std::string, Object> ObjectsOf(CVT::BMibImplGroup& module) {
    std::map<std::string, Object> objects;
    for (int place = 0; place < module.NumHandlers(); ++place) {
        CVT::BMibImpl* const group = module.HandlerAt(place);
        if (group == nullptr) {
            ADD_FAILURE() << "no group at " << place;
            continue;
        }
        for (const CVT::BRqHndlrEntry* column = group->GetRqHndlrMap(); !column->IsEnd(); ++column) {
            objects[column->name] = Declared(*group, *column, module.GetTCConstraintMap());
        }
    }
    return objects;
}

// What the document says.

const std::vector<std::string> kHeader = {"object", "OID", "type", "access", "range, unit", "source", "refreshed"};

std::vector<std::string> Cells(const std::string& row) {
    std::vector<std::string> cells;
    for (std::size_t begin = 1, end = row.find('|', 1); end != std::string::npos; end = row.find('|', begin)) {
        const std::string cell = row.substr(begin, end - begin);
        const auto first = cell.find_first_not_of(' ');
        cells.push_back(first == std::string::npos ? "" : cell.substr(first, cell.find_last_not_of(' ') - first + 1));
        begin = end + 1;
    }
    return cells;
}

/// The declared part of a cell such as "0..100; percent" or "true(1), false(2)"; empty when the cell begins with
/// anything else.
std::string DeclaredPart(const std::string& cell) {
    static const std::regex kRange(R"(^-?\d+\.\.-?\d+( octets)?(?=;|$))");
    static const std::regex kList(R"(^\w+\(\d+\)(, \w+\(\d+\))*(?=;|$))");
    std::smatch found;
    return std::regex_search(cell, found, kRange) || std::regex_search(cell, found, kList) ? found.str()
                                                                                           : std::string();
}

struct Document {
    std::map<std::string, Object> objects;
    std::vector<std::string> faults;  ///< one line each
};

Document Read() {
    Document document;
    std::ifstream file(kDocument);
    std::string heading;
    bool inObjects = false;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("## ")) {
            heading = line.substr(3);
        }
        if (!line.starts_with('|')) {
            inObjects = false;
            continue;
        }
        const std::vector<std::string> cells = Cells(line);
        if (!cells.empty() && cells[0] == "object") {
            inObjects = true;
            if (cells != kHeader) {
                document.faults.push_back("an unexpected form of table under " + heading);
            }
        } else if (inObjects && !line.starts_with("|--")) {
            if (cells.size() != kHeader.size() || std::find(cells.begin(), cells.end(), "") != cells.end()) {
                document.faults.push_back("a cell is missing: " + line);
                continue;
            }
            const Object object{heading, cells[1], cells[2], cells[3], DeclaredPart(cells[4])};
            if (!document.objects.emplace(cells[0], object).second) {
                document.faults.push_back("twice: " + cells[0]);
            }
        }
    }
    return document;
}

class ObjectsDocument : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(m_module.IsLoaded());
        ASSERT_EQ(m_module.Init(), 1);
        m_served = ObjectsOf(m_module.Group());
    }
    void TearDown() override { EXPECT_EQ(m_module.Close(), 1); }

    WorkingFolder m_folder;  // the module keeps a file in its working directory
    LoadedModule m_module;
    std::map<std::string, Object> m_served;
    Document m_document = Read();
};

TEST_F(ObjectsDocument, HasTablesOfOneFormWithEveryCellFilled) {
    EXPECT_EQ(m_document.faults, std::vector<std::string>());
    EXPECT_FALSE(m_document.objects.empty()) << kDocument;
}

TEST_F(ObjectsDocument, ListsExactlyTheServedObjects) {
    for (const auto& [name, object] : m_served) {
        EXPECT_EQ(m_document.objects.count(name), 1U) << name << " is served, and not in the document";
    }
    for (const auto& [name, object] : m_document.objects) {
        EXPECT_EQ(m_served.count(name), 1U) << name << " is in the document, and not served";
    }
}

TEST_F(ObjectsDocument, DescribesEachObjectAsTheLibraryDeclaresIt) {
    for (const auto& [name, object] : m_served) {
        const auto written = m_document.objects.find(name);
        if (written != m_document.objects.end()) {
            EXPECT_EQ(written->second, object) << name << ": the document first, then the library";
        }
    }
}

}  // namespace
