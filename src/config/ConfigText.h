// One configuration file from bytes to assignments: decode, parse, test that the parse used up the whole
// file, flatten. Most of a large settings file is flattened while it is parsed.
//
// Portable, one thread at a time. Reading logs nothing: a caller may read first and decide later whether, and
// with which messages, what was read is loaded. The file itself is read by the caller.
#pragma once

#include "config/ConfigFile.h"
#include "config/SettingsWalker.h"
#include "config/json/JsonReader.h"
#include "variables/VariableBatch.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace zq {

class Cancellation;
class HostLog;

// Whether a document with this root is one of the file: a headset list is an array, the other files take any
// root.
bool IsRootAccepted(ConfigFile file, const JsonValue& root);

// Collects the variables of an accepted file; the batch's texts are those of the tree. Returns false, with a
// message, when the root is not accepted. `trace`, where one is given, hears of every node. Without one,
// `reading` may be that of the tree: containers are freed as they are done with.
bool FlattenConfig(ConfigFile file, const JsonValue& root, VariableBatch& batch, const HostLog& log,
                   FlattenTrace* trace = nullptr, JsonLastReading* reading = nullptr);

// A file's content as it was read. Tree and batch point into the text, so the object stays where it is.
class ConfigText {
public:
    // Reading and flattening raise Cancelled where `cancellation`, which may be null, asks for it.
    explicit ConfigText(ConfigFile file, const Cancellation* cancellation = nullptr);
    ConfigText(const ConfigText&) = delete;
    ConfigText& operator=(const ConfigText&) = delete;

    // Decodes and parses in place of what was read before; the result is IsAccepted(). A large file is read
    // in parts. The caller must keep `bytes` until the object ends or reads again. Raises std::bad_alloc.
    bool Read(std::string_view bytes);
    // The same, and leaves the whole tree to be looked at.
    bool ReadTree(std::string_view bytes);
    // The same, and flattens already, while it reads, what can be flattened then: its memory is used again
    // for what follows. REQUIRES: the settings.
    bool ReadInParts(std::string_view bytes);

    // Whether the parse took as many UTF-16 units as the file has bytes. A byte order mark, a character of
    // several bytes or anything after the end of the document refuses the file.
    bool IsAccepted() const { return m_parseResult >= 1 && m_parseResult == m_fileLength; }
    bool IsRootAccepted() const { return zq::IsRootAccepted(m_file, m_root); }
    int32_t ParseResult() const { return m_parseResult; } // of ParseJsonValue
    int32_t FileLength() const { return m_fileLength; }   // in bytes

    // As FlattenConfig into Batch(), and frees the tree on the way: the root is null from then on. Called
    // once after a reading. REQUIRES: IsAccepted().
    bool Flatten(const HostLog& log);
    // The variables, once they are flattened.
    const VariableBatch& Batch() const { return *m_batch; }
    VariableBatch&& TakeBatch() { return std::move(*m_batch); }

    // Without what was flattened already.
    const JsonValue& Root() const { return m_root; }

private:
    // Of the file's bytes, how they are read as characters.
    struct Decoding {
        std::string_view bytes;
        const wchar_t* table = nullptr; // where each byte is one; otherwise m_text has the characters
    };

    Decoding Decode(std::string_view bytes);
    int32_t Parse(const Decoding& decoding, JsonConsumer* consumer);
    void BeginBatch();

    ConfigFile m_file;
    const Cancellation* m_cancellation;
    std::wstring m_text;
    JsonRoot m_root;
    std::optional<VariableBatch> m_batch;
    std::optional<SettingsWalker> m_taken; // where a part was flattened while it was read
    int32_t m_parseResult = 0;
    int32_t m_fileLength = 0;
};

} // namespace zq
