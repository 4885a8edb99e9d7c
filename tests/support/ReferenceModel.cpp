#include "support/ReferenceModel.h"

#include <cstdlib>
#include <map>
#include <memory>

namespace zq::test {

namespace {

struct Node {
    enum Kind { Null, Bool, Integer, Double, String, Array, Object } kind = Null;
    bool truth = false;
    long long integer = 0;
    double real = 0;
    std::wstring text;
    std::vector<std::shared_ptr<Node>> elements;
    std::map<std::wstring, std::shared_ptr<Node>> members;
};

bool IsSpace(wchar_t unit) { return unit >= 1 && unit <= 32; }

size_t SkipSpace(std::wstring_view text) {
    size_t n = 0;
    while (n < text.size() && IsSpace(text[n])) {
        ++n;
    }
    return n;
}

bool IsHex(wchar_t unit) {
    return std::wstring_view(L"0123456789abcdefABCDEF").find(unit) != std::wstring_view::npos && unit != 0;
}

int ParseValue(Node& node, std::wstring_view text);

int ParseString(std::wstring& out, std::wstring_view text) {
    if (text.empty() || text.find(L'"') == std::wstring_view::npos) {
        return -1;
    }
    unsigned long previous = 0;
    size_t i = 1;
    while (i < text.size()) {
        const wchar_t unit = text[i];
        if (unit == L'"') {
            return static_cast<int>(i + 1);
        }
        if (unit != L'\\') {
            out += unit;
            ++i;
            continue;
        }
        const size_t remaining = text.size() - i;
        if (remaining == 1) {
            out += L'\\';
            ++i;
            continue;
        }
        const wchar_t escaped = text[i + 1];
        if (escaped == L'u' && remaining < 6) {
            out += text.substr(i);
            i = text.size();
        } else if (escaped == L'u') {
            std::string digits;
            for (size_t k = i + 2; k < i + 6 && IsHex(text[k]); ++k) {
                digits += static_cast<char>(text[k]);
            }
            if (!digits.empty()) {
                previous = std::strtoul(digits.c_str(), nullptr, 16);
            }
            out += static_cast<wchar_t>(previous);
            i += 6;
        } else {
            static const std::map<wchar_t, wchar_t> kKnown = {
                {L'"', L'"'}, {L'n', L'\n'}, {L'r', L'\r'}, {L't', L'\t'}, {L'/', L'/'}};
            const auto known = kKnown.find(escaped);
            out += known == kKnown.end() ? L'\\' : known->second;
            i += 2;
        }
    }
    return static_cast<int>(i);
}

int ParseNumber(Node& node, std::wstring_view text) {
    const bool hasSign = text[0] == L'+' || text[0] == L'-';
    size_t i = hasSign ? 1 : 0;
    std::string scanned;
    int points = 0;
    for (; i < text.size(); ++i) {
        if (text[i] == L'.') {
            if (++points == 2) {
                return -1;
            }
        } else if (text[i] < L'0' || text[i] > L'9') {
            break;
        }
        scanned += static_cast<char>(text[i]);
    }
    if (i == text.size()) {
        return -1;
    }
    if (points == 1) {
        node.kind = Node::Double;
        node.real = std::strtod(scanned.c_str(), nullptr);
        node.real = text[0] == L'-' ? -node.real : node.real;
    } else {
        node.kind = Node::Integer;
        node.integer = std::strtoll(scanned.c_str(), nullptr, 10); // saturates
        node.integer = text[0] == L'-' ? -node.integer : node.integer;
    }
    return static_cast<int>(i);
}

int ParseLiteral(Node& node, std::wstring_view text) {
    if (text.size() < 4) {
        return -1;
    }
    const size_t length = text[0] == L'f' || text[0] == L'F' ? 5 : 4;
    std::wstring word(text.substr(0, length));
    for (wchar_t& unit : word) {
        if (unit >= L'A' && unit <= L'Z') {
            unit = static_cast<wchar_t>(unit - L'A' + L'a');
        }
    }
    if (word != L"true" && word != L"false" && word != L"null") {
        return -1;
    }
    node.kind = word == L"null" ? Node::Null : Node::Bool;
    node.truth = word == L"true";
    return static_cast<int>(length);
}

int ParseObject(Node& node, std::wstring_view text) {
    if (text.find(L'}') == std::wstring_view::npos) {
        return -1;
    }
    size_t consumed = 1;
    const auto rest = [&] { return text.substr(consumed); };
    for (;;) {
        consumed += SkipSpace(rest());
        if (consumed < text.size() && text[consumed] == L'}') {
            node.kind = Node::Object;
            return static_cast<int>(consumed + 1);
        }
        std::wstring key;
        const int keyUnits = ParseString(key, rest());
        if (keyUnits < 1) {
            break;
        }
        consumed += static_cast<size_t>(keyUnits);
        consumed += SkipSpace(rest());
        if (consumed >= text.size() || text[consumed] != L':') {
            break;
        }
        ++consumed;
        consumed += SkipSpace(rest());
        auto value = std::make_shared<Node>();
        const int valueUnits = ParseValue(*value, rest());
        if (valueUnits < 1) {
            break;
        }
        consumed += static_cast<size_t>(valueUnits);
        node.members[key] = value;
        consumed += SkipSpace(rest());
        if (consumed < text.size() && text[consumed] == L',') {
            ++consumed;
        }
    }
    return -static_cast<int>(consumed);
}

int ParseArray(Node& node, std::wstring_view text) {
    if (text.find(L']') == std::wstring_view::npos) {
        return -1;
    }
    size_t consumed = 1;
    const auto rest = [&] { return text.substr(consumed); };
    for (;;) {
        consumed += SkipSpace(rest());
        if (consumed < text.size() && text[consumed] == L']') {
            node.kind = Node::Array;
            return static_cast<int>(consumed + 1);
        }
        auto value = std::make_shared<Node>();
        const int valueUnits = ParseValue(*value, rest());
        if (valueUnits < 1) {
            return -static_cast<int>(consumed);
        }
        consumed += static_cast<size_t>(valueUnits);
        node.elements.push_back(value);
        consumed += SkipSpace(rest());
        if (consumed < text.size() && text[consumed] == L',') {
            ++consumed;
        }
    }
}

int ParseValue(Node& node, std::wstring_view text) {
    if (text.empty()) {
        return -1;
    }
    const size_t space = SkipSpace(text);
    const std::wstring_view token = text.substr(space);
    if (token.empty() || token[0] == 0 ||
        std::wstring_view(L"{[\"+-0123456789tTfFnN").find(token[0]) == std::wstring_view::npos) {
        return -static_cast<int>(space + 1);
    }
    int count = 0;
    if (token[0] == L'{') {
        count = ParseObject(node, token);
    } else if (token[0] == L'[') {
        count = ParseArray(node, token);
    } else if (token[0] == L'"') {
        node.kind = Node::String;
        count = ParseString(node.text, token);
    } else if (std::wstring_view(L"tTfFnN").find(token[0]) != std::wstring_view::npos) {
        count = ParseLiteral(node, token);
    } else {
        count = ParseNumber(node, token);
    }
    return count < 1 ? count : count + static_cast<int>(space);
}

class Flattener {
public:
    explicit Flattener(ReferenceRun& run) : m_run(run) {}

    void Settings(const std::wstring& prefix, const Node& object) {
        std::vector<std::wstring> headers;
        for (const auto& [key, value] : object.members) {
            if (key.empty()) {
                continue;
            }
            const std::wstring name = prefix.empty() ? key : prefix + L"." + key;
            if (value->kind == Node::Object) {
                Settings(name, *value);
            } else if (value->kind == Node::Array &&
                       (key == L"CL" || key == L"cl" || key == L"Cl" || key == L"cL")) {
                for (const auto& element : value->elements) {
                    Header(name, *element, headers);
                }
            } else {
                Scalar(name, *value);
            }
        }
        m_run.variables.Int64(L"HmdNameSize", static_cast<int64_t>(headers.size()));
        for (size_t i = 0; i < headers.size(); ++i) {
            const std::wstring name = L"HmdNameList." + std::to_wstring(i);
            m_run.variables.String(name, headers[i]);
            Say(2, L"Set variable STRING " + name + L" = " + Printed(headers[i]));
        }
    }

    void HmdList(const Node& root) {
        for (const auto& device : root.elements) {
            const Node* name = Find(*device, L"DeviceName", Node::String);
            const Node* response = Find(*device, L"Response", Node::Array);
            if (!name || !response) {
                continue;
            }
            for (const auto& item : response->elements) {
                if (item->kind == Node::Object) {
                    Item(L"CL." + name->text, *item);
                }
            }
        }
    }

    void Quality(const std::wstring& prefix, const Node& object) {
        for (const auto& [key, value] : object.members) {
            if (key.empty()) {
                continue;
            }
            if (value->kind == Node::Array) {
                for (size_t i = 0; i < value->elements.size(); ++i) {
                    const wchar_t* suffix = i == 0   ? L".Quality"
                                            : i == 1 ? L".Balance"
                                            : i == 2 ? L".Performance"
                                                     : L".Ultra";
                    if (value->elements[i]->kind == Node::Object) {
                        Quality(L"CL." + key + suffix, *value->elements[i]);
                    }
                }
            } else if (!Scalar(prefix.empty() ? key : prefix + L"." + key, *value)) {
                Say(4, L"Invalid Quality Preset item : " + Printed(prefix));
            }
        }
    }

    void Say(int level, const std::wstring& text) { m_run.lines.push_back({level, text}); }

private:
    // What %s prints of a text: it ends at a zero.
    static std::wstring Printed(const std::wstring& text) { return text.c_str(); }

    static const Node* Find(const Node& object, const wchar_t* key, Node::Kind kind) {
        const auto found = object.members.find(key);
        return found != object.members.end() && found->second->kind == kind ? found->second.get() : nullptr;
    }

    bool Scalar(const std::wstring& name, const Node& value) {
        switch (value.kind) {
        case Node::Bool:
            m_run.variables.Bool(name, value.truth ? 1 : 0);
            return true;
        case Node::Integer:
            m_run.variables.Int64(name, value.integer);
            m_run.variables.Double(name, static_cast<double>(value.integer));
            return true;
        case Node::Double:
            m_run.variables.Double(name, value.real);
            return true;
        case Node::String:
            m_run.variables.String(name, value.text);
            return true;
        default:
            return false;
        }
    }

    void Header(const std::wstring& arrayName, const Node& element, std::vector<std::wstring>& headers) {
        const Node* name = Find(element, L"HD", Node::String);
        if (!name) {
            return;
        }
        headers.push_back(name->text);
        if (!name->text.empty()) {
            Settings(arrayName + L"." + name->text, element);
        }
    }

    void Item(const std::wstring& prefix, const Node& item) {
        const Node* mainRequest = Find(item, L"MainRequest", Node::Integer);
        const Node* subRequest = Find(item, L"SubRequest", Node::Integer);
        const Node* index = Find(item, L"index", Node::Integer);
        const auto value = item.members.find(L"Value");
        if (!mainRequest || !subRequest || !index || value == item.members.end()) {
            Say(4, L"Invalid hmd list item : " + Printed(prefix));
            return;
        }
        const std::wstring name = Printed(prefix) + L"." + std::to_wstring(mainRequest->integer) + L"." +
                                  std::to_wstring(subRequest->integer) + L"." +
                                  std::to_wstring(index->integer);
        if (value->second->kind != Node::Array) {
            if (!Scalar(name, *value->second)) {
                Say(4, L"Invalid hmd list item : " + Printed(prefix));
            }
            return;
        }
        const auto& elements = value->second->elements;
        m_run.variables.Int64(name + L".ArraySize", static_cast<int64_t>(elements.size()));
        for (size_t j = 0; j < elements.size(); ++j) {
            const std::wstring elementName = name + L"." + std::to_wstring(j);
            if (!Scalar(elementName, *elements[j])) {
                Say(4, L"Invalid hmd list item : " + Printed(elementName));
            }
        }
    }

    ReferenceRun& m_run;
};

} // namespace

ReferenceRun RunReference(ReferenceFile file, std::string_view bytes) {
    const bool isMarked = bytes.substr(0, 3) == "\xEF\xBB\xBF";
    const std::string_view narrow = bytes.substr(isMarked ? 3 : 0);
    ReferenceRun run;
    Node root;
    std::wstring text;
    for (const char byte : narrow) {
        text += static_cast<wchar_t>(static_cast<unsigned char>(byte));
    }
    run.parseResult = ParseValue(root, text);
    if (run.parseResult < 1 || static_cast<size_t>(run.parseResult) != bytes.size()) {
        return run;
    }
    run.isLoaded = true;
    Flattener flattener(run);
    if (file == ReferenceFile::Settings && root.kind == Node::Object) {
        flattener.Settings(L"", root);
    } else if (file == ReferenceFile::Quality && root.kind == Node::Object) {
        flattener.Quality(L"", root);
    } else if (file == ReferenceFile::HmdList && root.kind == Node::Array) {
        flattener.HmdList(root);
    } else if (file == ReferenceFile::HmdList) {
        flattener.Say(4, L"Invalid hmd list format.");
        run.isLoaded = false;
    }
    return run;
}

} // namespace zq::test
