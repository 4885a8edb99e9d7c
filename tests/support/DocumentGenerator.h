// Generates configuration documents: most resemble what people write, and one in four is damaged. The same
// seed gives the same document. Portable.
#pragma once

#include "config/ConfigText.h"

#include <cstdint>
#include <initializer_list>
#include <random>
#include <string>
#include <string_view>

namespace zq::test {

class DocumentGenerator {
public:
    explicit DocumentGenerator(uint64_t seed) : m_random(seed) {}

    std::string Document(ConfigFile file) {
        std::string text = Space();
        if (Chance(20)) {
            text += Value(4);
        } else if (file == ConfigFile::Settings) {
            text += Object(4, {"CL", "cl", "Cl", "A", "b", "", "HD", "HmdNameSize"});
        } else if (file == ConfigFile::Quality) {
            text += Object(4, {"ALPHA1", "BETA2", "Version", "CL", ""});
        } else {
            text += HmdList();
        }
        if (Chance(4)) {
            Damage(text);
        }
        return (Chance(60) ? std::string("\xEF\xBB\xBF") : std::string()) + text;
    }

private:
    using Keys = std::initializer_list<const char*>;

    size_t Below(size_t n) { return static_cast<size_t>(m_random() % n); }
    bool Chance(size_t oneIn) { return Below(oneIn) == 0; }
    std::string Pick(Keys all) { return *(all.begin() + Below(all.size())); }
    std::string Space() { return Chance(4) ? Pick({" ", "\n", "\t ", "\x01", "\r\n"}) : ""; }
    std::string Comma() { return Space() + (Chance(8) ? " " : ",") + Space(); }

    std::string Text() {
        std::string text = "\"";
        for (size_t i = Below(5); i > 0; --i) {
            text += Chance(40)
                        ? Pick({"\\u12", "\\uq", "\\u"})
                        : Pick({"a", "Bc", "x y", "\\n", "\\\"", "\\/", "\\\\", "\\b", "\\u0041", "\\u00e9",
                                "\\u12 q", "\\uwxyz", "\\u0000", "\t", ".", "{", "]", "\\t\\r"});
        }
        return text + "\"";
    }

    std::string Number() {
        std::string text = Pick({"", "", "", "-", "+"});
        text += !text.empty() && Chance(6) ? "" : std::to_string(m_random() >> Below(64));
        if (Chance(3)) {
            text += '.';
            text += Chance(6) ? "" : std::to_string(m_random() >> Below(64));
        }
        return text + (Chance(800) ? Pick({"e5", ".", ".."}) : "");
    }

    std::string Scalar() {
        switch (Below(8)) {
        case 0:
        case 1:
            return Text();
        case 2:
            return Pick({"true", "false", "TRUE", "False", "fALSE"});
        case 3:
            return Pick({"null", "NULL", "Null"});
        default:
            return Number();
        }
    }

    std::string Value(int depth) {
        if (depth == 0 || Chance(2)) {
            return Scalar();
        }
        return Chance(2) ? Array(depth - 1) : Object(depth - 1, {"CL", "HD", "a", "B", "c.d", "", "L"});
    }

    std::string Array(int depth) {
        std::string text = "[";
        text += Space();
        for (size_t i = Below(6); i > 0; --i) {
            text += Chance(2) ? Object(depth, {"HD", "HD", "x", "y", "CL"}) : Value(depth);
            text += Comma();
        }
        return text + "]";
    }

    std::string Member(const std::string& key, const std::string& value) {
        return '"' + key + '"' + Space() + ':' + Space() + value + Comma();
    }

    std::string Object(int depth, Keys keys) {
        std::string text = "{";
        text += Space();
        for (size_t i = Below(9); i > 0; --i) {
            const std::string key = Pick(keys);
            const bool isName = key == "HD" && !Chance(5);
            const bool isList = depth > 0 && (key.size() == 2 || key.size() > 4) && !isName && !Chance(4);
            const std::string value = isName   ? Pick({"\"X\"", "\"MERIN5\"", "\"\"", "\"\\u0059\""})
                                      : isList ? Array(depth - 1)
                                               : Value(depth);
            text += Chance(10) ? Text() + ":" + value + Comma() : Member(key, value);
        }
        return text + "}";
    }

    std::string Item() {
        std::string text = "{";
        for (const char* key : {"index", "MainRequest", "SubRequest"}) {
            if (!Chance(25)) {
                text += Member(key, Chance(15) ? Scalar() : Pick({"0", "1", "2", "-1", "17"}));
            }
        }
        return text + (Chance(15) ? "" : Member("Value", Chance(2) ? Array(1) : Value(2))) + "}";
    }

    std::string HmdList() {
        std::string text = "[";
        for (size_t i = Below(4); i > 0; --i) {
            std::string response = "[";
            for (size_t k = Below(5); k > 0; --k) {
                response += (Chance(12) ? Value(1) : Item()) + Comma();
            }
            response += "]";
            const std::string name = Chance(10) ? Scalar() : Pick({"\"ALPHA1\"", "\"BETA2\"", "\"\""});
            text += std::string("{") + (Chance(12) ? "" : Member("DeviceName", name)) +
                    Member("Response", Chance(12) ? Value(1) : response) + "}" + Comma();
        }
        return text + "]";
    }

    void Damage(std::string& text) {
        static constexpr std::string_view kBytes = "{}[]\",:\\u0.-+ \n\x01tTfnNae";
        for (size_t i = 1 + Below(3); i > 0 && !text.empty(); --i) {
            const size_t place = Below(text.size());
            switch (Below(6)) {
            case 0:
                text.resize(place);
                break;
            case 1:
                text.erase(place, 1 + Below(4));
                break;
            case 2:
                text.insert(place, text.substr(Below(text.size()), Below(20)));
                break;
            case 3:
                text.insert(place, 1, kBytes[Below(kBytes.size())]);
                break;
            case 4:
                text[place] = static_cast<char>(Below(128));
                break;
            default:
                text[place] = kBytes[Below(kBytes.size())];
            }
        }
    }

    std::mt19937_64 m_random;
};

} // namespace zq::test
