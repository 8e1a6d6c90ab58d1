#pragma once

#include "CVT/SnmpTypes.h"

/// Runs one phase of a SET of the value in `field`, which is null when the value's row is absent. Between the phases
/// the undo cell keeps the old value: the check creates it, the release deletes it. A commit calls `effect` before it
/// stores the new value; when `effect` throws, nothing is stored. A group makes its own checks, other than for an
/// absent row, before it calls this.
///
/// Returns noError; inconsistentName, commitFailed or undoFailed for an absent row; genErr for an unknown phase.
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

/// The same for a value that has no further effect.
template <class T>
int i32SetPhase(CVT::ESnmpSetOpCode phase, T* field, const T& value, void** undo) {
    return i32SetPhase(phase, field, value, undo, [] {});
}
