// The lines of /proc/partitions: any text yields a size, and the same one each time.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "groups/common/HostFile.h"
#include "groups/devices/PartitionProbe.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2) {
        return 0;
    }
    const unsigned int device = data[0] * 256U + data[1];
    std::string text(reinterpret_cast<const char*>(data + 2), size - 2);
    text += '\0';
    unsigned int sizes[2] = {1, 2};
    for (unsigned int& found : sizes) {
        const DHostFile file(::fmemopen(text.data(), text.size(), "r"));
        found = ui32ReadPartitionSize(file.get(), device);
    }
    if (sizes[0] != sizes[1]) {
        std::abort();
    }
    return 0;
}
