#pragma once

#include <string>

namespace cvtagentd {

/// The directives that a configuration of this agent may hold. Stateless.
namespace KnownDirectives {

/// The directive that a misspelled one was probably meant as; empty when none is near.
std::string NearestTo(const std::string& unknown);

}  // namespace KnownDirectives

}  // namespace cvtagentd
