#pragma once

#include <cstddef>

namespace cvtagentd {

/// Bounds the work for a GETBULK of version 3 by the size that the messages of its sender may have: no repetition is
/// read for which the response cannot have room, however short its values are. What still does not fit is left out when
/// the response is encoded (ResponseBuilder), so that each response is as full as possible.
///
/// Used by the thread that runs the library.
namespace ResponseBudget {

/// The shortest varbind that the agent serves: a number of one octet under a name of nine arcs, or an empty string
/// under a name of ten.
inline constexpr std::size_t kLeastVarBind = 15;

/// Bounds the repetitions of every request from now on. Call it once.
void Install();

}  // namespace ResponseBudget

}  // namespace cvtagentd
