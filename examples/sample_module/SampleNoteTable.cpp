#include "SampleNoteTable.h"

#include "SetField.h"

namespace sample {

using CVT::Column;
using CVT::ESnmpSetOpCode;

const char SampleNoteTable::s_textConvention[] = "SampleText";

const CVT::BRqHndlrEntry SampleNoteTable::s_rqhndlrEntries[] = {
    // clang-format off
    Column<CVT::kIntValue>(1, "sampleNoteIndex", CVT::kInteger, &SampleNoteTable::GetIndex),
    Column<CVT::kOctetStringValue>(2, "sampleNoteText", CVT::kOctetString, &SampleNoteTable::GetText, &SampleNoteTable::SetText),
    Column<CVT::kIntValue>(3, "sampleNotePriority", CVT::kInteger, &SampleNoteTable::GetPriority, &SampleNoteTable::SetPriority),
    {},
    // clang-format on
};

const CVT::BConstraintEntry SampleNoteTable::s_sonstraintEntries[] = {
    {CVT::kConvention, 2, s_textConvention, 0, 0}, {CVT::kEnumeration, 3, nullptr, 0, 0},
    {CVT::kEnumValue, 0, "low", kLow, 0},          {CVT::kEnumValue, 0, "normal", kNormal, 0},
    {CVT::kEnumValue, 0, "high", kHigh, 0},        {},
};

// The OID is the table's. Its entry, under which the columns stand, is 1.3.6.1.4.1.32473.1.2.1.
SampleNoteTable::SampleNoteTable() : CVT::BMibTableImpl("SAMPLE-MIB.sampleNoteTable", "1.3.6.1.4.1.32473.1.2") {}

void SampleNoteTable::Initialize() {
    AddNote(1, "Copy this folder", kHigh);
    AddNote(2, "Give it a number of your own", kNormal);
    AddNote(10, "Na\xC3\xAFve caf\xC3\xA9s are welcome", kLow);  // texts are UTF-8
    SetActive(1);
}

void SampleNoteTable::Cleanup() {
    SetActive(0);
    m_rows.Clear();
    m_notes.clear();
}

void SampleNoteTable::AddNote(int index, const char* text, Priority priority) {
    Note& note = m_notes.emplace_back(Note{index, CVT::BOctetString(text, 0), priority});
    m_rows.Insert(Index(static_cast<unsigned int>(index)), &note);
}

// The order of the rows, the same for all columns here. The toolkit uses it to walk column by column.
bool SampleNoteTable::NextInstanceInColumn(unsigned int /*requestId*/, unsigned int /*column*/, const Index& index,
                                           Index& nextIndex) {
    return m_rows.Next(index, nextIndex);
}

int SampleNoteTable::GetIndex(const Index& index, unsigned int /*requestId*/, int& value) {
    const Note* const note = Find(index);
    if (note == nullptr) {
        return CVT::noSuchName;
    }
    value = note->index;
    return CVT::noError;
}

int SampleNoteTable::GetText(const Index& index, unsigned int /*requestId*/, CVT::BOctetString& value) {
    const Note* const note = Find(index);
    if (note == nullptr) {
        return CVT::noSuchName;
    }
    value = note->text;
    return CVT::noError;
}

int SampleNoteTable::SetText(const Index& index, ESnmpSetOpCode phase, unsigned int /*requestId*/,
                             const CVT::BOctetString& value, void** undo) {
    Note* const note = Find(index);
    return note == nullptr ? SetAbsentRow<CVT::BOctetString>(phase, undo) : SetField(phase, value, note->text, undo);
}

int SampleNoteTable::GetPriority(const Index& index, unsigned int /*requestId*/, int& value) {
    const Note* const note = Find(index);
    if (note == nullptr) {
        return CVT::noSuchName;
    }
    value = note->priority;
    return CVT::noError;
}

int SampleNoteTable::SetPriority(const Index& index, ESnmpSetOpCode phase, unsigned int /*requestId*/, const int& value,
                                 void** undo) {
    Note* const note = Find(index);
    return note == nullptr ? SetAbsentRow<int>(phase, undo) : SetField(phase, value, note->priority, undo);
}

}  // namespace sample
