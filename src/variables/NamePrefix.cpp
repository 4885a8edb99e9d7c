#include "variables/NamePrefix.h"

#include "variables/NameHash.h"

#include <algorithm>
#include <functional>
#include <new>
#include <vector>

namespace zq {

bool NamePrefix::Is(std::wstring_view text) const {
    for (const NamePrefix* prefix = this; prefix; prefix = prefix->parent) {
        if (!IsSameName(text.substr(text.size() - prefix->piece.size()), prefix->piece)) {
            return false;
        }
        text.remove_suffix(prefix->piece.size());
    }
    return true;
}

void NamePrefix::CopyTo(wchar_t* out) const {
    wchar_t* end = out + length;
    for (const NamePrefix* prefix = this; prefix; prefix = prefix->parent) {
        end -= prefix->piece.size();
        std::copy(prefix->piece.begin(), prefix->piece.end(), end);
    }
}

size_t NamePrefixes::KeyHash::operator()(const Key& key) const noexcept {
    return HashName(key.piece, std::hash<const NamePrefix*>()(key.parent));
}

const NamePrefix* NamePrefixes::Share(const NamePrefix* parent, std::wstring_view piece) {
    const auto found = m_prefixes.find({parent, piece});
    if (found != m_prefixes.end()) {
        return found->second;
    }
    auto* copy = m_arena.Allocate<wchar_t>(piece.size());
    std::copy(piece.begin(), piece.end(), copy);
    const size_t length = piece.size() + (parent ? parent->length : 0);
    const auto* prefix =
        new (m_arena.Allocate<NamePrefix>(1)) NamePrefix{parent, {copy, piece.size()}, length};
    m_prefixes.emplace(Key{parent, prefix->piece}, prefix);
    return prefix;
}

const NamePrefix* NamePrefixes::Share(const NamePrefix& other) {
    std::vector<std::wstring_view> pieces;
    for (const NamePrefix* prefix = &other; prefix; prefix = prefix->parent) {
        pieces.push_back(prefix->piece);
    }
    const NamePrefix* own = nullptr;
    std::reverse(pieces.begin(), pieces.end());
    for (const std::wstring_view piece : pieces) {
        own = Share(own, piece);
    }
    return own;
}

void NamePrefixes::Clear() noexcept {
    m_prefixes.clear();
    m_arena.Clear();
}

} // namespace zq
