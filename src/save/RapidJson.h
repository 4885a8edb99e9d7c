// The JSON library as the save path uses it, and how it is configured. Every file of the save path includes
// it through this header.
//
// Portable.
#pragma once

#include <rapidjson/document.h>
