#include "save/JsonDocument.h"

#include "base/HostLog.h"
#include "platform/Mutex.h"
#include "save/DocumentText.h"

#include <rapidjson/filereadstream.h>
#include <rapidjson/filewritestream.h>

#include <cstdio>
#include <vector>

namespace zq {

namespace {

struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using UniqueFile = std::unique_ptr<std::FILE, CloseFile>;

constexpr long kShortestFile = 4; // the library's read stream asks for so many
constexpr size_t kWriteBufferBytes = 65'536;

UniqueFile OpenFile(const std::wstring& path, const wchar_t* mode) {
    std::FILE* file = nullptr;
    return UniqueFile(_wfopen_s(&file, path.c_str(), mode) == 0 ? file : nullptr);
}

} // namespace

int32_t LoadJsonDoc(const std::wstring& path, std::unique_ptr<EditableDocument>& document) {
    const UniqueFile file = OpenFile(path, L"rb");
    if (!file || std::fseek(file.get(), 0, SEEK_END) != 0) {
        return 1;
    }
    const long length = std::ftell(file.get());
    if (length < kShortestFile) {
        return 1;
    }
    std::fseek(file.get(), 0, SEEK_SET);
    std::vector<char> buffer(static_cast<size_t>(length));
    rapidjson::FileReadStream stream(file.get(), buffer.data(), buffer.size());
    auto parsed = std::make_unique<EditableDocument>();
    if (const int32_t error = ParseDocument(*parsed, stream)) {
        return error;
    }
    // The library takes a zero byte for the end: what stands behind it would be lost by a save.
    if (stream.Tell() < buffer.size()) {
        return rapidjson::kParseErrorDocumentRootNotSingular;
    }
    document = std::move(parsed);
    return 0;
}

int32_t SaveJsonDoc(const std::wstring& path, const EditableDocument& document, const HostLog& log,
                    MutexLock& fileLock) {
    int32_t result = 1;
    if (const UniqueFile file = OpenFile(path, L"wb")) {
        char buffer[kWriteBufferBytes];
        rapidjson::FileWriteStream stream(file.get(), buffer, sizeof(buffer));
        WriteDocument(document, stream);
        result = 0;
    }
    fileLock.Release();
    log.Log(LogProgress, L"[ModSetting] SaveJsonDoc() done, ret code :%d,file:%s", result, path.c_str());
    return result;
}

} // namespace zq
