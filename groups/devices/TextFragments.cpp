#include "groups/devices/TextFragments.h"

#include <cstring>

int trimLF(char* text) {
    const std::size_t length = std::strlen(text);
    if (length != 0 && text[length - 1] == '\n') {
        text[length - 1] = '\0';
    }
    return static_cast<int>(length);
}

char* pcFormatCPUData(char* source, char* target) {
    char* const end = std::strchr(source, '\n');
    if (end != nullptr) {
        *end = '\0';
        std::memcpy(target, source, static_cast<std::size_t>(end - source) + 1);
    }
    return target;
}
