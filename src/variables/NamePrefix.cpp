#include "variables/NamePrefix.h"

#include "base/SameText.h"
#include "variables/NameHash.h"

#include <algorithm>
#include <functional>
#include <new>

namespace zq {

namespace {

// Goes on to the piece before where the rest of a name is used up.
void StepBack(const NamePrefix*& prefix, std::wstring_view& rest) {
    while (rest.empty() && prefix) {
        rest = prefix->piece;
        prefix = prefix->parent;
    }
}

} // namespace

bool IsSameName(const NamePrefix* a, NodeName aRest, const NamePrefix* b, std::wstring_view bRest) {
    while (aRest.size() != 0) {
        StepBack(b, bRest);
        const size_t units = std::min(aRest.size(), bRest.size());
        if (units == 0 || !(aRest.Last(units) == bRest.substr(bRest.size() - units))) {
            return false;
        }
        aRest = aRest.WithoutLast(units);
        bRest.remove_suffix(units);
    }
    for (std::wstring_view aPiece;;) {
        StepBack(a, aPiece);
        StepBack(b, bRest);
        const size_t units = std::min(aPiece.size(), bRest.size());
        if (units == 0) {
            return aPiece.size() == bRest.size();
        }
        if (!IsSameText(aPiece.substr(aPiece.size() - units), bRest.substr(bRest.size() - units))) {
            return false;
        }
        aPiece.remove_suffix(units);
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
