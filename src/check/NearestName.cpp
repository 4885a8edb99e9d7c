#include "check/NearestName.h"

#include "base/AsciiCase.h"

#include <algorithm>
#include <utility>

namespace zq {

namespace {

std::wstring WithoutDigits(std::wstring_view name) {
    std::wstring rest(name);
    std::erase_if(rest, IsAsciiDigit);
    return rest;
}

// How many letters may differ in a name of this length.
size_t Tolerance(size_t length) {
    constexpr size_t kShort = 3;
    constexpr size_t kLong = 8;
    return length <= kShort ? 0 : length < kLong ? 1 : 2;
}

bool Holds(std::wstring_view name, std::wstring_view part) {
    const auto isSame = [](wchar_t a, wchar_t b) { return AsciiLower(a) == AsciiLower(b); };
    return !part.empty() &&
           std::search(name.begin(), name.end(), part.begin(), part.end(), isSame) != name.end();
}

// The last three rows of the table of distances; a swap looks two rows back.
class DistanceRows {
public:
    explicit DistanceRows(std::wstring_view b)
        : m_b(b), m_before(b.size() + 1), m_last(b.size() + 1), m_row(b.size() + 1) {
        for (size_t j = 0; j <= b.size(); ++j) {
            m_row[j] = j;
        }
    }

    // Adds the row of letter `i` of `a`; returns its least distance.
    size_t Add(std::wstring_view a, size_t i) {
        std::swap(m_before, m_last);
        std::swap(m_last, m_row);
        m_row[0] = i + 1;
        size_t least = m_row[0];
        for (size_t j = 0; j < m_b.size(); ++j) {
            const bool isSame = AsciiLower(a[i]) == AsciiLower(m_b[j]);
            m_row[j + 1] = std::min({m_last[j] + (isSame ? 0 : 1), m_last[j + 1] + 1, m_row[j] + 1});
            if (i > 0 && j > 0 && AsciiLower(a[i]) == AsciiLower(m_b[j - 1]) &&
                AsciiLower(a[i - 1]) == AsciiLower(m_b[j])) {
                m_row[j + 1] = std::min(m_row[j + 1], m_before[j - 1] + 1);
            }
            least = std::min(least, m_row[j + 1]);
        }
        return least;
    }

    size_t Distance() const { return m_row.back(); }

private:
    std::wstring_view m_b;
    std::vector<size_t> m_before;
    std::vector<size_t> m_last;
    std::vector<size_t> m_row;
};

} // namespace

size_t EditDistance(std::wstring_view a, std::wstring_view b, size_t limit) {
    if (std::max(a.size(), b.size()) - std::min(a.size(), b.size()) > limit) {
        return limit + 1;
    }
    DistanceRows rows(b);
    size_t least = 0;
    for (size_t i = 0; i < a.size(); ++i) {
        const size_t rowLeast = rows.Add(a, i);
        // A swap may still come from the row before.
        if (std::min(least, rowLeast) > limit) {
            return limit + 1;
        }
        least = rowLeast;
    }
    return std::min(rows.Distance(), limit + 1);
}

bool IsMistyped(std::wstring_view name, std::wstring_view known) {
    if (name == known) {
        return false;
    }
    const size_t tolerance = Tolerance(name.size());
    const size_t distance = EditDistance(name, known, tolerance);
    return distance == 0 || (distance <= tolerance && WithoutDigits(name) != WithoutDigits(known));
}

std::vector<std::wstring> NearestNames(std::wstring_view name, const std::vector<std::wstring>& known,
                                       size_t count) {
    const size_t limit = std::max<size_t>(2, name.size() / 3);
    std::vector<std::pair<size_t, std::wstring>> near;
    for (const std::wstring& candidate : known) {
        const size_t distance = EditDistance(name, candidate, limit);
        if (distance <= limit || Holds(candidate, name)) {
            near.emplace_back(distance, candidate);
        }
    }
    std::sort(near.begin(), near.end());
    near.erase(std::unique(near.begin(), near.end()), near.end());
    std::vector<std::wstring> names;
    for (size_t i = 0; i < near.size() && i < count; ++i) {
        names.push_back(near[i].second);
    }
    return names;
}

} // namespace zq
