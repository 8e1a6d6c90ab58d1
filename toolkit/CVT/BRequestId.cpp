#include "CVT/BRequestId.h"

#include <atomic>

namespace CVT {

unsigned int BRequestId::Next() {
    static std::atomic<unsigned int> last = 0;
    unsigned int id = 0;
    do {
        id = last.fetch_add(1, std::memory_order_relaxed) + 1;
    } while (id == 0 || id == 0xFFFFFFFFU);
    return id;
}

}  // namespace CVT
