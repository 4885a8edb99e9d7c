// Stands in for the page where the build leaves it out.
#include "serve/PageFiles.h"

#include <array>

namespace zq::tool {

std::span<const WebFile> PageFiles() {
    static constexpr std::array<WebFile, 1> kFiles = {
        {{"", "text/html; charset=utf-8",
          "<!doctype html><title>zqsettings</title><p>This zqsettings was built without its page. The live "
          "messages "
          "are served under \"live\", as docs/dashboard.md describes.",
          false}}};
    return kFiles;
}

} // namespace zq::tool
