#pragma once

#include "CVT/SnmpTypes.h"

namespace sample {

/// The four phases of a SET of one value, for a value that is a plain field of the group. The undo cell holds a copy of
/// the field from the check on; the release deletes it. Code that rejects values must come before this: a CheckAndSave
/// that returns an error gets no Release, and must have saved nothing.
template <class T>
int SetField(CVT::ESnmpSetOpCode phase, const T& value, T& field, void** undo) {
    auto* const saved = static_cast<T*>(*undo);
    switch (phase) {
        case CVT::ESnmpSetOpCode::CheckAndSave: *undo = new T(field); return CVT::noError;
        case CVT::ESnmpSetOpCode::Commit: field = value; return CVT::noError;
        case CVT::ESnmpSetOpCode::Undo:
            if (saved == nullptr) {
                return CVT::undoFailed;
            }
            field = *saved;
            return CVT::noError;
        case CVT::ESnmpSetOpCode::Release:
            delete saved;
            *undo = nullptr;
            return CVT::noError;
    }
    return CVT::genErr;  // an unknown phase
}

/// The same for a row that is absent. It may also have vanished since its check: the saved copy is still deleted.
template <class T>
int SetAbsentRow(CVT::ESnmpSetOpCode phase, void** undo) {
    switch (phase) {
        case CVT::ESnmpSetOpCode::CheckAndSave: return CVT::inconsistentName;
        case CVT::ESnmpSetOpCode::Commit: return CVT::commitFailed;
        case CVT::ESnmpSetOpCode::Undo: return CVT::undoFailed;
        case CVT::ESnmpSetOpCode::Release:
            delete static_cast<T*>(*undo);
            *undo = nullptr;
            return CVT::noError;
    }
    return CVT::genErr;
}

}  // namespace sample
