#include "CVT/Warnings.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <string>

namespace CVT {
namespace {

std::atomic<WarningReceiver> s_receiver = nullptr;

}  // namespace

void SetWarningReceiver(WarningReceiver receiver) noexcept { s_receiver.store(receiver); }

void Warn(std::string_view text) {
    const WarningReceiver receiver = s_receiver.load();
    if (receiver == nullptr) {
        return;
    }
    try {
        std::string line(text);
        std::replace_if(
            line.begin(), line.end(), [](unsigned char c) { return c < ' ' || c == 0x7F; }, ' ');
        receiver(line);
    } catch (const std::exception&) {
        return;  // the work that the warning is about continues without it
    }
}

}  // namespace CVT
