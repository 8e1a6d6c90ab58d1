#pragma once

#include <functional>
#include <initializer_list>
#include <iterator>
#include <set>
#include <string_view>
#include <vector>

#include "CVT/BMibImplGroup.h"
#include "CVT/BMibScalarGroupImpl.h"
#include "CVT/BMibTableImpl.h"

// Groups whose columns, constraints, rows and answers are chosen by a test, and short ways to write names and varbinds.

namespace CVT::test {

inline BObjectIdentifier Oid(const char* dotted) { return BObjectIdentifier(BString(dotted)); }

inline BVarBind Named(const BObjectIdentifier& name) {
    BVarBind varBind;
    varBind.name = name;
    return varBind;
}
inline BVarBind Named(const char* dotted) { return Named(Oid(dotted)); }

inline BVarBind Integer(const char* dotted, int value) {
    BVarBind varBind = Named(dotted);
    varBind.type = kInteger;
    varBind.integer = value;
    return varBind;
}

inline BVarBind Number(const char* dotted, ESnmpType type, unsigned int value) {
    BVarBind varBind = Named(dotted);
    varBind.type = type;
    varBind.number = value;
    return varBind;
}

inline BVarBind Octets(const char* dotted, std::string_view value) {
    BVarBind varBind = Named(dotted);
    varBind.type = kOctetString;
    varBind.octets.Assign(value);
    return varBind;
}

inline BVarBind Identifier(const char* dotted, const char* value) {
    BVarBind varBind = Named(dotted);
    varBind.type = kObjectIdentifier;
    varBind.identifier = Oid(value);
    return varBind;
}

/// A group's answers, and the calls it has received: the part that scalars and tables share.
struct SampleAnswers {
    int integer = 7;
    unsigned int number = 7;
    BOctetString octets{std::string_view("seven")};
    BObjectIdentifier identifier{7U};

    int getResult = noError;
    std::function<void()> inGet = [] {};  ///< runs inside every get operation; it may throw

    int setResult = noError;
    std::function<void(ESnmpSetOpCode)> inSet = [](ESnmpSetOpCode) {};  ///< likewise for set operations

    unsigned int lastRequestId = 0;
    BObjectIdentifier lastIndex;
    int gets = 0;
    std::vector<ESnmpSetOpCode> phases;

    int setInteger = 0;
    unsigned int setNumber = 0;
    BOctetString setOctets;
    BObjectIdentifier setIdentifier;

    template <class T>
    int Answer(unsigned int requestId, const T& mine, T& value) {
        ++gets;
        lastRequestId = requestId;
        inGet();
        if (getResult == noError) {
            value = mine;
        }
        return getResult;
    }

    template <class T>
    int Take(ESnmpSetOpCode phase, unsigned int requestId, const T& value, T& mine) {
        phases.push_back(phase);
        lastRequestId = requestId;
        mine = value;
        inSet(phase);
        return setResult;
    }
};

/// A group of scalars.
class SampleScalars : public BMibScalarGroupImpl {
public:
    explicit SampleScalars(const char* oid, std::initializer_list<BRqHndlrEntry> entries = {})
        : BMibScalarGroupImpl("SAMPLE-MIB.scalars", oid) {
        Serve(entries);
    }

    /// Call it before the first request: a group's columns are constant from then on.
    void Serve(std::initializer_list<BRqHndlrEntry> entries) {
        columns = entries;
        columns.emplace_back();
    }
    void Constrain(std::initializer_list<BConstraintEntry> entries) {
        constraints = entries;
        constraints.emplace_back();
    }

    void Initialize() override { SetActive(1); }
    void Cleanup() override { SetActive(0); }
    const BRqHndlrEntry* GetRqHndlrMap() const override { return columns.data(); }
    const BConstraintEntry* GetConstraintMap() const override { return constraints.data(); }

    int OnGet_Int(unsigned int id, int& value) { return answers.Answer(id, answers.integer, value); }
    int OnGet_Unsigned(unsigned int id, unsigned int& value) { return answers.Answer(id, answers.number, value); }
    int OnGet_Octets(unsigned int id, BOctetString& value) { return answers.Answer(id, answers.octets, value); }
    int OnGet_Oid(unsigned int id, BObjectIdentifier& value) { return answers.Answer(id, answers.identifier, value); }
    int OnSet_Int(ESnmpSetOpCode phase, unsigned int id, const int& value, void** /*undo*/) {
        return answers.Take(phase, id, value, answers.setInteger);
    }
    int OnSet_Unsigned(ESnmpSetOpCode phase, unsigned int id, const unsigned int& value, void** /*undo*/) {
        return answers.Take(phase, id, value, answers.setNumber);
    }
    int OnSet_Octets(ESnmpSetOpCode phase, unsigned int id, const BOctetString& value, void** /*undo*/) {
        return answers.Take(phase, id, value, answers.setOctets);
    }
    int OnSet_Oid(ESnmpSetOpCode phase, unsigned int id, const BObjectIdentifier& value, void** /*undo*/) {
        return answers.Take(phase, id, value, answers.setIdentifier);
    }

    static BRqHndlrEntry ReadOnly(unsigned int subId) {
        return Column<kIntValue>(subId, "sampleInt", kInteger, &SampleScalars::OnGet_Int);
    }
    static BRqHndlrEntry Int(unsigned int subId, ESnmpType type = kInteger) {
        return Column<kIntValue>(subId, "sampleInt", type, &SampleScalars::OnGet_Int, &SampleScalars::OnSet_Int);
    }
    static BRqHndlrEntry Unsigned(unsigned int subId, ESnmpType type = kGauge32) {
        return Column<kUnsignedValue>(subId, "sampleUnsigned", type, &SampleScalars::OnGet_Unsigned,
                                      &SampleScalars::OnSet_Unsigned);
    }
    static BRqHndlrEntry OctetColumn(unsigned int subId) {
        return Column<kOctetStringValue>(subId, "sampleOctets", kOctetString, &SampleScalars::OnGet_Octets,
                                         &SampleScalars::OnSet_Octets);
    }
    static BRqHndlrEntry TextColumn(unsigned int subId) {
        return Column<kDisplayStringValue>(subId, "sampleText", kOctetString, &SampleScalars::OnGet_Octets,
                                           &SampleScalars::OnSet_Octets);
    }
    static BRqHndlrEntry OidColumn(unsigned int subId) {
        return Column<kObjectIdentifierValue>(subId, "sampleOid", kObjectIdentifier, &SampleScalars::OnGet_Oid,
                                              &SampleScalars::OnSet_Oid);
    }

    SampleAnswers answers;
    std::vector<BRqHndlrEntry> columns{{}};
    std::vector<BConstraintEntry> constraints{{}};
};

/// A table whose columns all have the same rows.
class SampleTable : public BMibTableImpl {
public:
    explicit SampleTable(const char* oid, std::initializer_list<BRqHndlrEntry> entries = {})
        : BMibTableImpl("SAMPLE-MIB.table", oid) {
        Serve(entries);
    }
    SampleTable(BMibImpl& parent, const char* oid, std::initializer_list<BRqHndlrEntry> entries = {})
        : BMibTableImpl(parent, "SAMPLE-MIB.child", oid) {
        Serve(entries);
    }

    /// Call it before the first request: a group's columns are constant from then on.
    void Serve(std::initializer_list<BRqHndlrEntry> entries) {
        columns = entries;
        columns.emplace_back();
    }

    void Initialize() override { SetActive(1); }
    void Cleanup() override { SetActive(0); }
    const BRqHndlrEntry* GetRqHndlrMap() const override { return columns.data(); }
    const BConstraintEntry* GetConstraintMap() const override { return constraints.data(); }
    bool NextInstanceInColumn(unsigned int requestId, unsigned int column, const BObjectIdentifier& index,
                              BObjectIdentifier& nextIndex) override {
        ++searches;
        answers.lastRequestId = requestId;
        inNext(column);
        const auto at = rows.upper_bound(index);
        if (at == rows.end()) {
            return false;
        }
        nextIndex = *at;
        return true;
    }

    int OnGet_Int(const BObjectIdentifier& index, unsigned int id, int& value) {
        answers.lastIndex = index;
        return rows.contains(index) ? answers.Answer(id, answers.integer, value) : noSuchName;
    }
    int OnGet_Unsigned(const BObjectIdentifier& index, unsigned int id, unsigned int& value) {
        answers.lastIndex = index;
        return rows.contains(index) ? answers.Answer(id, answers.number, value) : noSuchName;
    }
    int OnSet_Int(const BObjectIdentifier& index, ESnmpSetOpCode phase, unsigned int id, const int& value,
                  void** /*undo*/) {
        answers.lastIndex = index;
        return answers.Take(phase, id, value, answers.setInteger);
    }

    static BRqHndlrEntry ReadOnly(unsigned int subId) {
        return Column<kIntValue>(subId, "sampleCell", kInteger, &SampleTable::OnGet_Int);
    }
    static BRqHndlrEntry Counter(unsigned int subId) {
        return Column<kUnsignedValue>(subId, "sampleCounter", kCounter32, &SampleTable::OnGet_Unsigned);
    }
    static BRqHndlrEntry Int(unsigned int subId) {
        return Column<kIntValue>(subId, "sampleCell", kInteger, &SampleTable::OnGet_Int, &SampleTable::OnSet_Int);
    }

    SampleAnswers answers;
    std::vector<BRqHndlrEntry> columns{{}};
    std::vector<BConstraintEntry> constraints{{}};
    std::set<BObjectIdentifier> rows;
    std::function<void(unsigned int)> inNext = [](unsigned int) {};  ///< runs at the start of every search
    int searches = 0;
};

/// A module of groups that the test owns.
class SampleModule : public BMibImplGroup {
public:
    explicit SampleModule(std::vector<BMibImpl*> members) : BMibImplGroup("SAMPLE-MIB"), groups(std::move(members)) {}

    unsigned int Init() override { return 0; }
    unsigned int Cleanup() override { return 0; }
    int NumHandlers() override { return static_cast<int>(groups.size()); }
    BMibImpl* HandlerAt(int place) override {
        return place >= 0 && place < NumHandlers() ? groups[static_cast<std::size_t>(place)] : nullptr;
    }
    const BConstraintEntry* GetTCConstraintMap() const override { return conventions; }
    void InitDefVals() override {}

    std::vector<BMibImpl*> groups;
    const BConstraintEntry* conventions = nullptr;
};

}  // namespace CVT::test
