#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <random>
#include <string>

namespace agent_test {

/// Random choices for campaigns; the same ones for the same seed. Not synchronised.
class Dice {
public:
    explicit Dice(std::uint64_t seed) : m_generator(seed) {}

    /// From 0 to `count` - 1.
    std::size_t Below(std::size_t count) { return m_generator() % count; }
    bool OnceIn(std::size_t count) { return Below(count) == 0; }
    template <class Container>
    const auto& Of(const Container& container) {
        return *(std::begin(container) + static_cast<std::ptrdiff_t>(Below(std::size(container))));
    }
    std::string Octets(std::size_t count) {
        std::string octets(count, '\0');
        for (char& octet : octets) {
            octet = static_cast<char>(Below(256));
        }
        return octets;
    }
    /// The octets with up to four changes, most of them near the start.
    std::string Mutated(std::string octets) {
        for (std::size_t times = 1 + Below(4); times > 0 && !octets.empty(); --times) {
            const std::size_t place = Below(OnceIn(2) ? std::min<std::size_t>(octets.size(), 60) : octets.size());
            switch (Below(6)) {
                case 0: octets[place] = static_cast<char>(octets[place] ^ (1 << Below(8))); break;
                case 1: octets[place] = static_cast<char>(Below(256)); break;
                case 2: octets.erase(place, 1 + Below(4)); break;
                case 3: octets.insert(place, Octets(1 + Below(4))); break;
                case 4: octets[place] = static_cast<char>(0x80 + Below(6)); break;
                default: octets.resize(Below(octets.size() + 1)); break;
            }
        }
        return octets;
    }

private:
    std::mt19937_64 m_generator;
};

/// A number from the environment, by which a campaign is made longer or repeated.
inline std::uint64_t Setting(const char* name, std::uint64_t otherwise) {
    const char* const text = std::getenv(name);
    return text == nullptr ? otherwise : std::strtoull(text, nullptr, 10);
}

}  // namespace agent_test
