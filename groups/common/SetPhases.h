#pragma once

#include "CVT/SnmpTypes.h"

/// One phase of a SET of the value in `field`, which is null when the value's row is absent. Between the phases the value
/// that was there is kept in the undo cell: made by the check, deleted by the release. `effect` is called by a commit
/// before it stores the new value: when it throws, nothing is stored. What a group refuses beyond an absent row it refuses
/// before it calls this.
///
/// Gives noError; inconsistentName, commitFailed or undoFailed for an absent row; genErr for a phase that is none.
template <class T, class Effect>
int i32SetPhase(CVT::ESnmpSetOpCode phase, T* field, const T& value, void** undo, Effect effect) {
    switch (phase) {
        case CVT::ESnmpSetOpCode::CheckAndSave:
            if (field == nullptr) {
                return CVT::inconsistentName;
            }
            *undo = new T(*field);
            return CVT::noError;
        case CVT::ESnmpSetOpCode::Commit:
            if (field == nullptr) {
                return CVT::commitFailed;
            }
            effect();
            *field = value;
            return CVT::noError;
        case CVT::ESnmpSetOpCode::Undo:
            if (field == nullptr || *undo == nullptr) {
                return CVT::undoFailed;
            }
            *field = *static_cast<const T*>(*undo);
            return CVT::noError;
        case CVT::ESnmpSetOpCode::Release:
            delete static_cast<T*>(*undo);
            *undo = nullptr;
            return CVT::noError;
    }
    return CVT::genErr;
}

/// The same for a value whose storing has no further effect.
template <class T>
int i32SetPhase(CVT::ESnmpSetOpCode phase, T* field, const T& value, void** undo) {
    return i32SetPhase(phase, field, value, undo, [] {});
}
