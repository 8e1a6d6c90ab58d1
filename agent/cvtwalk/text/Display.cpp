#include "agent/cvtwalk/text/Display.h"

#include <langinfo.h>
#include <locale.h>  // NOLINT(modernize-deprecated-headers): newlocale is not in <clocale>
#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <string_view>

namespace cvtwalk {
namespace {

/// 0 when the variable does not hold a number of columns.
std::size_t ColumnsOfEnvironment() {
    const char* const columns = std::getenv("COLUMNS");  // NOLINT(concurrency-mt-unsafe): no other thread runs
    const std::string_view text = columns == nullptr ? std::string_view() : columns;
    std::size_t width = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), width);
    return failure == std::errc() && end == text.data() + text.size() ? width : 0;
}

std::size_t WidthOf(int descriptor) {
    if (::isatty(descriptor) == 0) {
        return 0;
    }
    if (const std::size_t columns = ColumnsOfEnvironment(); columns > 0) {
        return columns;
    }
    struct winsize window {};
    return ::ioctl(descriptor, TIOCGWINSZ, &window) == 0 ? window.ws_col : 0;
}

std::size_t HeightOf(int descriptor) {
    struct winsize window {};
    return ::isatty(descriptor) != 0 && ::ioctl(descriptor, TIOCGWINSZ, &window) == 0 ? window.ws_row : 0;
}

/// Queries a separate locale: modules keep the one that they would have in an agent.
bool LocaleIsUtf8() {
    const locale_t locale = ::newlocale(LC_CTYPE_MASK, "", nullptr);
    if (locale == nullptr) {
        return false;
    }
    const bool utf8 = ::nl_langinfo_l(CODESET, locale) == std::string_view("UTF-8");
    ::freelocale(locale);
    return utf8;
}

}  // namespace

Display Display::Of(int descriptor) { return {WidthOf(descriptor), LocaleIsUtf8(), HeightOf(descriptor)}; }

}  // namespace cvtwalk
