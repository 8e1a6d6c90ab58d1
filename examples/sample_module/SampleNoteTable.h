#pragma once

#include <deque>

#include "CVT/BMapOid2Ptr.h"
#include "CVT/BMibTableImpl.h"

namespace sample {

/// The table sampleNoteTable, 1.3.6.1.4.1.32473.1.2: notes under one integer index, each with a text and a priority.
///
/// m_rows holds the rows in their order; m_notes owns them. Both are used under the request lock.
class SampleNoteTable final : public CVT::BMibTableImpl {
public:
    SampleNoteTable();

    void Initialize() override;
    void Cleanup() override;
    const CVT::BRqHndlrEntry* GetRqHndlrMap() const override { return s_rqhndlrEntries; }
    const CVT::BConstraintEntry* GetConstraintMap() const override { return s_sonstraintEntries; }
    bool NextInstanceInColumn(unsigned int requestId, unsigned int column, const CVT::BObjectIdentifier& index,
                              CVT::BObjectIdentifier& nextIndex) override;

    /// The name of the module's own textual convention for the text of a note: 1 to 64 octets. See SampleModule.
    static const char s_textConvention[];

private:
    enum Priority : int { kLow = 1, kNormal = 2, kHigh = 3 };

    struct Note {
        int index;
        CVT::BOctetString text;
        int priority;
    };

    using Index = CVT::BObjectIdentifier;

    int GetIndex(const Index& index, unsigned int requestId, int& value);
    int GetText(const Index& index, unsigned int requestId, CVT::BOctetString& value);
    int SetText(const Index& index, CVT::ESnmpSetOpCode phase, unsigned int requestId, const CVT::BOctetString& value,
                void** undo);
    int GetPriority(const Index& index, unsigned int requestId, int& value);
    int SetPriority(const Index& index, CVT::ESnmpSetOpCode phase, unsigned int requestId, const int& value,
                    void** undo);

    void AddNote(int index, const char* text, Priority priority);
    /// Returns null when there is no such row.
    Note* Find(const Index& index) const { return static_cast<Note*>(m_rows.GetData(index)); }

    static const CVT::BRqHndlrEntry s_rqhndlrEntries[];
    static const CVT::BConstraintEntry s_sonstraintEntries[];

    std::deque<Note> m_notes;  // a deque: growing does not move the notes that m_rows points to
    CVT::BMapOid2Ptr m_rows;
};

}  // namespace sample
