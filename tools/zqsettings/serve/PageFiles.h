// The files of the page, generated from web/ by the build.
#pragma once

#include "serve/web/WebServer.h"

#include <span>

namespace zq::tool {

std::span<const WebFile> PageFiles();

} // namespace zq::tool
