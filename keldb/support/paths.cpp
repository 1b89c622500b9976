#include "keldb/support/paths.h"

#include <sys/stat.h>

#include "keldb/support/platform.h"

bool fileExists(const WString& path) {
    const String bytes = toUTF8(path);
    struct ::stat found {};
    return bytes.view().find('\0') == std::string_view::npos && OS().stat(bytes.c_str(), &found) == 0;
}

WString stripPathAndExt(const WString& path) {
    std::wstring_view name = path.text();
    if (const std::size_t slash = name.rfind(L'/'); slash != std::wstring_view::npos) {
        name.remove_prefix(slash + 1);
    }
    const std::size_t dot = name.rfind(L'.');
    if (dot != std::wstring_view::npos && dot > 0) {
        name = name.substr(0, dot);
    }
    return WString(std::wstring(name));
}
