#pragma once

#include "CVT/INonVolatile.h"

/// A store that keeps nothing.
class NoStore : public CVT::INonVolatile {
public:
    bool Read(const CVT::BString& /*section*/, const CVT::BString& /*key*/, CVT::BString& /*value*/) override {
        return false;
    }
    void Write(const CVT::BString& /*section*/, const CVT::BString& /*key*/, const CVT::BString& /*value*/) override {}
    bool Remove(const CVT::BString& /*section*/, const CVT::BString& /*key*/) override { return false; }
    bool Save() override { return true; }
};
