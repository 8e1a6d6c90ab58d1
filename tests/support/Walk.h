#pragma once

#include <map>
#include <string>
#include <vector>

#include "CVT/BMibEngine.h"
#include "CVT/BRequest.h"

/// All instances of the engine under `root`, in the order of a walk that is one request.
inline std::vector<CVT::BVarBind> Walk(CVT::BMibEngine& engine, const char* root) {
    const CVT::BRequest request;
    const CVT::BObjectIdentifier under{CVT::BString(root)};
    std::vector<CVT::BVarBind> found;
    CVT::BVarBind at;
    at.name = under;
    while (engine.GetNext(request.Id(), at) == CVT::noError && !at.IsException() && at.name.StartsWith(under)) {
        found.push_back(at);
    }
    return found;
}

/// One instance, read in a request of its own.
inline CVT::BVarBind Get(CVT::BMibEngine& engine, const std::string& name) {
    const CVT::BRequest request;
    CVT::BVarBind varBind;
    varBind.name.AssignFromDottedDecimalStr(name.c_str());
    if (engine.Get(request.Id(), varBind) != CVT::noError) {
        varBind.type = CVT::kNull;
    }
    return varBind;
}

/// A whole SET of one INTEGER; returns the error-status.
inline int SetInteger(CVT::BMibEngine& engine, const std::string& name, int value) {
    const CVT::BRequest request;
    CVT::BVarBind varBind;
    varBind.name.AssignFromDottedDecimalStr(name.c_str());
    varBind.type = CVT::kInteger;
    varBind.integer = value;
    int errorIndex = 0;
    return engine.Set(request.Id(), {varBind}, errorIndex);
}
