// Documents for the load benchmark: settings of any size, and three shapes of documents that were not made
// for the module.
#pragma once

#include <cstddef>
#include <string>

namespace zq::bench {

// A settings file of about `bytes` bytes in the shape of real ones: groups of scalars, and a header list.
std::string MakeSettings(size_t bytes);

// Nested arrays of long numbers.
std::string MakeCoordinates(size_t bytes);
// Long texts with escapes and characters beyond ASCII, in objects of an array.
std::string MakeFeed(size_t bytes);
// Small objects over and over, with numbers for keys.
std::string MakeCatalogue(size_t bytes);

} // namespace zq::bench
