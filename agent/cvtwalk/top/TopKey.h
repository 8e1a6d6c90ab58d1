#pragma once

namespace cvtwalk {

/// A key press. A plain value.
struct TopKey {
    enum class Kind { kCharacter, kUp, kDown, kPageUp, kPageDown, kHome, kEnd, kEnter, kEscape, kBackspace, kResized };

    Kind kind = Kind::kCharacter;
    char32_t character = 0;  ///< of kCharacter
};

}  // namespace cvtwalk
