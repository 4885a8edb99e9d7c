// Loads a configuration file into typed variables as a skilled engineer would write it with a JSON library's
// tree: the dotted name grows and shrinks in one buffer, and each value takes one map look-up. All libraries
// share one flattener: each library's node gives its kind and visits its members.
#pragma once

#include "config/ConfigFile.h"

#include <boost/unordered/unordered_flat_map.hpp>

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>

#include <windows.h>

namespace zq::bench {

template <class Value>
using StandardMap = std::unordered_map<std::wstring, Value>;
template <class Value>
using FlatMap = boost::unordered_flat_map<std::wstring, Value>;

template <template <class> class Map>
struct PeerMaps {
    Map<uint8_t> bools;
    Map<int64_t> integers;
    Map<double> doubles;
    Map<std::wstring> strings;

    size_t Size() const { return bools.size() + integers.size() + doubles.size() + strings.size(); }
};

enum class PeerKind { Null, Bool, Integer, Double, String, Array, Object };

inline void AppendWide(std::wstring& out, std::wstring_view text) { out += text; }

inline void AppendWide(std::wstring& out, std::string_view utf8) {
    const size_t length = out.size();
    out.resize(length + utf8.size());
    wchar_t* to = out.data() + length;
    unsigned char all = 0;
    for (size_t i = 0; i < utf8.size(); ++i) {
        to[i] = static_cast<unsigned char>(utf8[i]);
        all |= static_cast<unsigned char>(utf8[i]);
    }
    if (all >= 0x80) {
        const int units = MultiByteToWideChar(CP_UTF8, 0, utf8.data(), static_cast<int>(utf8.size()), to,
                                              static_cast<int>(utf8.size()));
        out.resize(length + static_cast<size_t>(units));
    }
}

template <class Text>
bool IsText(Text text, std::string_view ascii) {
    return text.size() == ascii.size() && std::equal(text.begin(), text.end(), ascii.begin());
}

template <template <class> class Map>
class PeerFlattener {
public:
    explicit PeerFlattener(PeerMaps<Map>& maps) : m_maps(maps) {}

    template <class Node>
    void Flatten(ConfigFile file, const Node& root) {
        switch (file) {
        case ConfigFile::Settings:
            Settings(root, {});
            break;
        case ConfigFile::HmdList:
            root.ForEachElement([this](const Node& device) { Device(device); });
            break;
        default:
            Quality(root);
        }
    }

private:
    // Keeps the name's length while a deeper one is built.
    template <class Work>
    void Deeper(Work work) {
        const size_t length = m_name.size();
        work();
        m_name.resize(length);
    }

    template <class Text>
    void AppendKey(Text key) {
        if (!m_name.empty()) {
            m_name += L'.';
        }
        AppendWide(m_name, key);
    }

    template <class Node>
    void Scalar(const Node& value) {
        switch (value.Kind()) {
        case PeerKind::Bool:
            m_maps.bools.insert_or_assign(m_name, value.Bool());
            break;
        case PeerKind::Integer:
            m_maps.integers.insert_or_assign(m_name, value.Integer());
            m_maps.doubles.insert_or_assign(m_name, static_cast<double>(value.Integer()));
            break;
        case PeerKind::Double:
            m_maps.doubles.insert_or_assign(m_name, value.Double());
            break;
        case PeerKind::String: {
            std::wstring& text = m_maps.strings[m_name];
            text.clear();
            AppendWide(text, value.Text());
            break;
        }
        default:
            break;
        }
    }

    template <class Node>
    void Settings(const Node& object, std::string_view) {
        object.ForEachMember([&](auto key, const Node& value) {
            Deeper([&] {
                AppendKey(key);
                if (value.Kind() == PeerKind::Object) {
                    Settings(value, {});
                } else if (value.Kind() != PeerKind::Array) {
                    Scalar(value);
                } else if (IsText(key, "CL")) {
                    value.ForEachElement([this](const Node& header) { Header(header); });
                }
            });
        });
    }

    template <class Node>
    void Header(const Node& header) {
        header.ForEachMember([&](auto key, const Node& value) {
            if (IsText(key, "HD")) {
                Deeper([&] {
                    AppendKey(value.Text());
                    Settings(header, {});
                });
            }
        });
    }

    template <class Node>
    void Quality(const Node& object) {
        static constexpr std::array<const wchar_t*, 4> kSuffixes = {L".Quality", L".Balance", L".Performance",
                                                                    L".Ultra"};
        object.ForEachMember([&](auto key, const Node& value) {
            if (value.Kind() != PeerKind::Array) {
                Deeper([&] {
                    AppendKey(key);
                    Scalar(value);
                });
                return;
            }
            size_t index = 0;
            value.ForEachElement([&](const Node& preset) {
                const std::wstring outer = m_name;
                m_name = L"CL.";
                AppendWide(m_name, key);
                m_name += kSuffixes[std::min<size_t>(index++, 3)];
                Quality(preset);
                m_name = outer;
            });
        });
    }

    template <class Node>
    void Device(const Node& device) {
        device.ForEachMember([&](auto key, const Node& value) {
            if (IsText(key, "DeviceName")) {
                m_name = L"CL.";
                AppendWide(m_name, value.Text());
            }
        });
        device.ForEachMember([&](auto key, const Node& value) {
            if (IsText(key, "Response")) {
                value.ForEachElement([this](const Node& item) { Deeper([&] { Item(item); }); });
            }
        });
    }

    template <class Node>
    void Item(const Node& item) {
        std::array<int64_t, 3> numbers{};
        item.ForEachMember([&](auto key, const Node& value) {
            static constexpr std::array<std::string_view, 3> kKeys = {"MainRequest", "SubRequest", "index"};
            for (size_t i = 0; i < kKeys.size(); ++i) {
                if (IsText(key, kKeys[i])) {
                    numbers[i] = value.Integer();
                }
            }
        });
        for (const int64_t number : numbers) {
            m_name += L'.';
            m_name += std::to_wstring(number);
        }
        item.ForEachMember([&](auto key, const Node& value) {
            if (!IsText(key, "Value")) {
                return;
            }
            if (value.Kind() != PeerKind::Array) {
                Scalar(value);
                return;
            }
            int64_t count = 0;
            value.ForEachElement([&](const Node& element) {
                Deeper([&] {
                    m_name += L'.';
                    m_name += std::to_wstring(count++);
                    Scalar(element);
                });
            });
            Deeper([&] {
                m_name += L".ArraySize";
                m_maps.integers.insert_or_assign(m_name, count);
            });
        });
    }

    PeerMaps<Map>& m_maps;
    std::wstring m_name;
};

} // namespace zq::bench
