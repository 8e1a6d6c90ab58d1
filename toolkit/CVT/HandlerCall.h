#pragma once

#include "CVT/BRqHndlrEntry.h"
#include "CVT/BVarBind.h"
#include "CVT/ForcedUnwind.h"

namespace CVT::detail {

/// Returns the result of `call`, or genErr when it throws. Only the unwinding of a terminated thread passes through.
template <class Call>
CVT_CATCHES_FORCED_UNWIND int WithoutThrowing(Call call) {
    try {
        return call();
    } catch (const abi::__forced_unwind&) {
        throw;
    } catch (...) {
        return genErr;
    }
}

/// Calls `operation` if it is a `Handler`; returns genErr if an entry pairs a value kind with another type of handler.
template <class Handler, class Operation, class Value, class Call>
int CallIf(const Operation& operation, Value& value, Call call) {
    const Handler* const handler = std::get_if<Handler>(&operation);
    return handler == nullptr ? static_cast<int>(genErr) : call(*handler, value);
}

/// Reads a column into the varbind. `call` receives the entry's get operation, a `Handler` for the type of the value,
/// and a reference to the value. An absent instance becomes the exception noSuchInstance.
template <template <class> class Handler, class Call>
int GetByKind(const BRqHndlrEntry& entry, BVarBind& varBind, Call call) {
    int status = genErr;
    switch (entry.valueKind) {
        case kIntValue:
            status = CallIf<Handler<int>>(entry.get, varBind.integer, call);
            varBind.number = static_cast<unsigned int>(varBind.integer);
            break;
        case kUnsignedValue:
            status = CallIf<Handler<unsigned int>>(entry.get, varBind.number, call);
            varBind.integer = static_cast<int>(varBind.number);
            break;
        case kOctetStringValue:
        case kDisplayStringValue: status = CallIf<Handler<BOctetString>>(entry.get, varBind.octets, call); break;
        case kObjectIdentifierValue:
            status = CallIf<Handler<BObjectIdentifier>>(entry.get, varBind.identifier, call);
            break;
        default: break;
    }
    varBind.type = status == noSuchName ? kNoSuchInstance : static_cast<ESnmpType>(entry.type);
    return status == noSuchName ? static_cast<int>(noError) : status;
}

/// Runs one SET phase of a column, likewise. A number is passed on in the handler's type, whatever its ASN.1 type.
template <template <class> class Handler, class Call>
int SetByKind(const BRqHndlrEntry& entry, const BVarBind& varBind, Call call) {
    const bool isSigned = varBind.type == kInteger;
    const int integer = isSigned ? varBind.integer : static_cast<int>(varBind.number);
    const unsigned int number = isSigned ? static_cast<unsigned int>(varBind.integer) : varBind.number;
    switch (entry.valueKind) {
        case kIntValue: return CallIf<Handler<int>>(entry.set, integer, call);
        case kUnsignedValue: return CallIf<Handler<unsigned int>>(entry.set, number, call);
        case kOctetStringValue:
        case kDisplayStringValue: return CallIf<Handler<BOctetString>>(entry.set, varBind.octets, call);
        case kObjectIdentifierValue: return CallIf<Handler<BObjectIdentifier>>(entry.set, varBind.identifier, call);
        default: return genErr;
    }
}

}  // namespace CVT::detail
