#include "variables/NamePrefix.h"

#include "variables/NameHash.h"

#include <algorithm>
#include <functional>
#include <new>

namespace zq {

bool IsSameName(const NamePrefix* a, std::wstring_view aRest, const NamePrefix* b, std::wstring_view bRest) {
    const auto step = [](const NamePrefix*& prefix, std::wstring_view& rest) {
        while (rest.empty() && prefix) {
            rest = prefix->piece;
            prefix = prefix->parent;
        }
    };
    for (;;) {
        step(a, aRest);
        step(b, bRest);
        const size_t units = std::min(aRest.size(), bRest.size());
        if (units == 0) {
            return aRest.size() == bRest.size();
        }
        if (!IsSameText(aRest.substr(aRest.size() - units), bRest.substr(bRest.size() - units))) {
            return false;
        }
        aRest.remove_suffix(units);
        bRest.remove_suffix(units);
    }
}

void NamePrefix::CopyTo(wchar_t* out) const {
    wchar_t* end = out + length;
    for (const NamePrefix* prefix = this; prefix; prefix = prefix->parent) {
        end -= prefix->piece.size();
        std::copy(prefix->piece.begin(), prefix->piece.end(), end);
    }
}

std::wstring_view JoinName(const NamePrefix* prefix, std::wstring_view rest, std::wstring& buffer) {
    buffer.resize(prefix->length);
    prefix->CopyTo(buffer.data());
    return buffer.append(rest);
}

size_t NamePrefixes::KeyHash::operator()(const Key& key) const noexcept {
    return HashName(key.piece) ^ std::hash<const NamePrefix*>()(key.parent);
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

void NamePrefixes::Clear() noexcept {
    m_prefixes.clear();
    m_arena.Clear();
}

} // namespace zq
