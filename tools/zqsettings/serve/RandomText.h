// Texts that nobody can guess: the token of the address, nonces, names of temporary files.
#pragma once

#include <string>

namespace zq::tool {

// 32 hexadecimal digits, 128 bits of the system's generator. Raises Failure when it has none to give.
std::string RandomHex();

} // namespace zq::tool
