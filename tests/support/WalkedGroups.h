#pragma once

#include "CVT/BMibEngine.h"
#include "CVT/BMibImplGroup.h"
#include "CVT/BMibScalarGroupImpl.h"
#include "CVT/BMibTableImpl.h"
#include "CVT/TextualConventions.h"

/// The smallest module with a scalar group and a table, for tests of code that displays a module's groups. Its values
/// do not matter: tests make varbinds of their own.
class WalkedGroups final : public CVT::BMibImplGroup {
public:
    class Scalars final : public CVT::BMibScalarGroupImpl {
    public:
        Scalars() : CVT::BMibScalarGroupImpl("A-MIB.things", "1.3.1") {}
        void Initialize() override {}
        void Cleanup() override {}
        const CVT::BRqHndlrEntry* GetRqHndlrMap() const override {
            static const CVT::BRqHndlrEntry entries[] = {
                CVT::Column<CVT::kIntValue>(1, "thingState", CVT::kInteger, &Scalars::GetNumber),
                CVT::Column<CVT::kOctetStringValue>(2, "thingDate", CVT::kOctetString, &Scalars::GetOctets),
                CVT::Column<CVT::kOctetStringValue>(3, "thingText", CVT::kOctetString, &Scalars::GetOctets),
                {},
            };
            return entries;
        }
        const CVT::BConstraintEntry* GetConstraintMap() const override {
            static const CVT::BConstraintEntry constraints[] = {
                {CVT::kEnumeration, 1, nullptr, 0, 0},
                {CVT::kEnumValue, 0, "running", 2, 0},
                {CVT::kConvention, 2, CVT::cszDateAndTime, 0, 0},
                {},
            };
            return constraints;
        }

    private:
        int GetNumber(unsigned int /*requestId*/, int& value) { return value = 0; }
        int GetOctets(unsigned int /*requestId*/, CVT::BOctetString& value) {
            value.Clear();
            return CVT::noError;
        }
    };

    /// Lies inside the subtree of the scalars.
    class Table final : public CVT::BMibTableImpl {
    public:
        Table() : CVT::BMibTableImpl("A-MIB.thingTable", "1.3.1.4") {}
        void Initialize() override {}
        void Cleanup() override {}
        const CVT::BRqHndlrEntry* GetRqHndlrMap() const override {
            static const CVT::BRqHndlrEntry entries[] = {
                CVT::Column<CVT::kIntValue>(1, "thingSize", CVT::kInteger, &Table::GetNumber),
                CVT::Column<CVT::kOctetStringValue>(2, "thingName", CVT::kOctetString, &Table::GetOctets),
                {},
            };
            return entries;
        }
        const CVT::BConstraintEntry* GetConstraintMap() const override {
            static const CVT::BConstraintEntry none[] = {{}};
            return none;
        }
        bool NextInstanceInColumn(unsigned int /*requestId*/, unsigned int /*column*/,
                                  const CVT::BObjectIdentifier& /*index*/,
                                  CVT::BObjectIdentifier& /*nextIndex*/) override {
            return false;
        }

    private:
        int GetNumber(const CVT::BObjectIdentifier& /*index*/, unsigned int /*requestId*/, int& /*value*/) {
            return CVT::noSuchName;
        }
        int GetOctets(const CVT::BObjectIdentifier& /*index*/, unsigned int /*requestId*/,
                      CVT::BOctetString& /*value*/) {
            return CVT::noSuchName;
        }
    };

    WalkedGroups() : CVT::BMibImplGroup("WalkedGroups") { engine.Add(*this); }
    unsigned int Init() override { return 1; }
    unsigned int Cleanup() override { return 1; }
    int NumHandlers() override { return 2; }
    CVT::BMibImpl* HandlerAt(int place) override { return place == 0 ? static_cast<CVT::BMibImpl*>(&scalars) : &table; }
    const CVT::BConstraintEntry* GetTCConstraintMap() const override { return nullptr; }
    void InitDefVals() override {}

    Scalars scalars;
    Table table;
    CVT::BMibEngine engine;
};
