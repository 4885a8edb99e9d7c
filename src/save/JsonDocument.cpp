#include "save/JsonDocument.h"

#include "save/DocumentEdit.h"

#include <rapidjson/memorystream.h>
#include <rapidjson/prettywriter.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <string>

namespace zq {

namespace {

constexpr size_t kShortestFile = 4;
// From this number on the library writes an exponent, which the module's reader refuses.
constexpr double kFirstWithExponent = 1e21;

using LibraryWriter = rapidjson::PrettyWriter<DocumentBuffer, rapidjson::UTF8<>, rapidjson::UTF8<>, JsonPool>;

// The shortest digits that read back as the same value, with their exponent: -1.5e+21.
std::string ShortestScientific(double value) {
    std::array<char, 32> text{};
    for (int places = 0; places < std::numeric_limits<double>::max_digits10; ++places) {
        std::snprintf(text.data(), text.size(), "%.*e", places, value);
        if (std::strtod(text.data(), nullptr) == value) {
            break;
        }
    }
    return text.data();
}

// The shortest digits that read back as the same value, then zeros: 1e21 is 1000000000000000000000.0.
std::string PlainDigits(double value) {
    const std::string text = ShortestScientific(value);
    const size_t exponentSign = text.find('e');
    std::string digits = text.substr(0, exponentSign);
    std::erase(digits, '.');
    const auto exponent = static_cast<size_t>(std::atoi(text.c_str() + exponentSign + 1));
    const size_t signs = value < 0 ? 1 : 0;
    return digits.append(exponent + 1 - (digits.size() - signs), '0').append(".0");
}

class DocumentWriter : public LibraryWriter {
public:
    using LibraryWriter::LibraryWriter;

    bool Double(double value) {
        if (std::abs(value) < kFirstWithExponent) {
            return LibraryWriter::Double(value);
        }
        const std::string digits = PlainDigits(value);
        return LibraryWriter::RawValue(digits.data(), digits.size(), rapidjson::kNumberType);
    }
};

} // namespace

bool ParseDocument(EditableDocument& document, std::string_view bytes) {
    rapidjson::MemoryStream stream(bytes.data(), bytes.size());
    document.ParseStream<rapidjson::kParseIterativeFlag>(stream);
    return !document.HasParseError();
}

int32_t ParseJsonDoc(std::string_view bytes, std::unique_ptr<EditableDocument>& document) {
    if (bytes.size() < kShortestFile) {
        return 1;
    }
    auto parsed = std::make_unique<EditableDocument>();
    if (!ParseDocument(*parsed, bytes)) {
        return parsed->GetParseError();
    }
    // The library takes a zero byte for the end, so a save would lose what follows it. A valid document has
    // none.
    if (bytes.find('\0') != std::string_view::npos) {
        return rapidjson::kParseErrorDocumentRootNotSingular;
    }
    document = std::move(parsed);
    return 0;
}

void WriteJsonDoc(const EditableDocument& document, DocumentBuffer& text) {
    constexpr int kDecimalPlaces = 4;
    JsonPool pool;
    DocumentWriter writer(text, &pool, kDeepestWritable);
    writer.SetMaxDecimalPlaces(kDecimalPlaces);
    document.Accept(writer);
}

} // namespace zq
