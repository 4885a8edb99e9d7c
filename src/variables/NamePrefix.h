// Long beginnings that many names have in common, each held once: a name under one is the prefix and what
// follows it. The memory of names then follows the file that they come from, however long and deep its keys
// are.
//
// Portable, no locks: the owner serialises. A prefix is never freed by itself.
#pragma once

#include "base/Arena.h"
#include "variables/NodeName.h"

#include <cstdint>
#include <string_view>
#include <unordered_map>

namespace zq {

// Shorter beginnings are not worth sharing: they are part of each name.
inline constexpr size_t kSharedPrefixUnits = 256;

// A piece of at least kSharedPrefixUnits characters after the parent's, which may be null.
struct NamePrefix {
    const NamePrefix* parent;
    std::wstring_view piece;
    size_t length; // of all pieces

    // Writes `length` characters.
    void CopyTo(wchar_t* out) const;
};

// Whether two names are the same, each of which is a prefix, which may be null, and a rest.
bool IsSameName(const NamePrefix* a, NodeName aRest, const NamePrefix* b, std::wstring_view bRest);

class NamePrefixes {
public:
    // The prefix of that content, made where there is none. Raises std::bad_alloc.
    const NamePrefix* Share(const NamePrefix* parent, std::wstring_view piece);

    void Clear() noexcept;

private:
    struct Key {
        const NamePrefix* parent;
        std::wstring_view piece;
        bool operator==(const Key&) const = default;
    };
    struct KeyHash {
        size_t operator()(const Key& key) const noexcept;
    };

    Arena m_arena;
    std::unordered_map<Key, const NamePrefix*, KeyHash> m_prefixes;
};

} // namespace zq
