// A non-volatile store over a file of arbitrary octets: whatever the store has read, it saves and reads back unchanged.

#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "CVT/BFileNV.h"

namespace {

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

/// A folder for this process, removed at its end.
class Folder {
public:
    Folder() { Require(::mkdtemp(m_name.data()) != nullptr); }
    ~Folder() {
        ::unlink(File().c_str());
        ::rmdir(m_name.c_str());
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string File() const { return m_name + "/store.nv"; }

private:
    std::string m_name = "/tmp/cvt_fuzz_XXXXXX";
};

std::string ContentOf(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

CVT::BString Text(std::string_view text) { return {text.data(), static_cast<unsigned int>(text.size())}; }

/// The content after a store has read the file and saved it again.
std::string Resaved(const std::string& file) {
    CVT::BFileNV store(file.c_str(), false);
    Require(store.Save());
    return ContentOf(file);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const Folder folder;
    const std::string file = folder.File();
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    std::ofstream(file, std::ios::binary) << input;

    const std::string once = Resaved(file);
    Require(Resaved(file) == once);

    // The input again, as texts to store: split anywhere into three.
    const std::size_t first = size / 3;
    const CVT::BString section = Text(input.substr(0, first));
    const CVT::BString key = Text(input.substr(first, first));
    const CVT::BString value = Text(input.substr(2 * first));
    {
        CVT::BFileNV store(file.c_str(), false);
        store.Write(section, key, value);
        Require(store.Save());
    }
    CVT::BFileNV store(file.c_str(), false);
    CVT::BString back;
    Require(store.Read(section, key, back) && back == value);
    Require(store.Remove(section, key) && !store.Remove(section, key));
    return 0;
}
