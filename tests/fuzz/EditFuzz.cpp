// Fuzz target of a save: a document that the JSON library reads is edited and written. What was written is
// plain, ends with its last bracket, is read by the library and accepted by the module's reader.
#include "Require.h"

#include "config/ConfigText.h"
#include "save/DocumentEdit.h"
#include "save/JsonDocument.h"

#include <memory>
#include <string>
#include <vector>

namespace {

using zq::fuzz::Require;

std::string Written(const zq::EditableDocument& document) {
    zq::DocumentBuffer text;
    zq::WriteJsonDoc(document, text);
    return {text.GetString(), text.GetSize()};
}

std::unique_ptr<zq::EditableDocument> Parse(const std::string& text) {
    std::unique_ptr<zq::EditableDocument> document;
    zq::ParseJsonDoc(text, document);
    return document;
}

zq::SaveResult Edit(zq::EditableDocument& document, uint8_t choice, const std::string& name) {
    const auto set = [choice](zq::EditableValue& value) { value.SetInt64(choice); };
    const std::vector<int64_t> values(choice % 4, choice);
    switch (choice % 3) {
    case 0:
        return zq::EditRootMember(document, name, set);
    case 1:
        return zq::EditDeviceMember(document, "CL.x." + name, choice / 3, set);
    default:
        return zq::EditHmdList(document, name, {choice / 64 - 1, choice / 16 % 4 - 1, -1}, values);
    }
}

void RequireReadable(const std::string& text) {
    Require(text.back() == '}' || text.back() == ']');
    Require(Parse(text) != nullptr);
}

bool IsAscii(const std::string& text) {
    for (const char byte : text) {
        if (static_cast<uint8_t>(byte) >= 0x80) {
            return false;
        }
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 3) {
        return 0;
    }
    const size_t nameLength = data[1] % 4;
    if (size < 2 + nameLength) {
        return 0;
    }
    const std::string name(data + 2, data + 2 + nameLength);
    const std::string text(data + 2 + nameLength, data + size);
    const std::unique_ptr<zq::EditableDocument> parsed = Parse(text);
    if (!parsed) {
        return 0;
    }
    zq::EditableDocument& document = *parsed;
    const std::string before = zq::IsWritable(document) ? Written(document) : std::string();
    if (Edit(document, data[0], name) != zq::SaveResult::Saved) {
        Require(!zq::IsWritable(document) || Written(document) == before);
        return 0;
    }
    if (!zq::IsWritable(document)) {
        return 0;
    }
    const std::string after = Written(document);
    RequireReadable(after);
    zq::ConfigText config(zq::ConfigFile::Settings);
    Require(config.Read(after) || !IsAscii(after));
    return 0;
}
