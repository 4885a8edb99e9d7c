// One configuration file from bytes to assignments: decode, parse, test that the parse used up the whole
// file, flatten.
//
// Portable, one thread at a time. Reading logs nothing: a caller may read first and decide later whether, and
// with which messages, what was read is loaded. The file itself is read by the caller.
#pragma once

#include "config/ConfigFile.h"
#include "config/json/JsonValue.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace zq {

class Cancellation;
class FlattenTrace;
class HostLog;
class VariableBatch;

// Whether a document with this root is one of the file: a headset list is an array, the other files take any
// root.
bool IsRootAccepted(ConfigFile file, const JsonValue& root);

// Collects the variables of an accepted file; the batch's texts are those of the tree. Returns false, with a
// message, when the root is not accepted. `trace`, where one is given, hears of every node. Without one,
// `reading` may be that of the tree: containers are freed as they are done with.
bool FlattenConfig(ConfigFile file, const JsonValue& root, VariableBatch& batch, const HostLog& log,
                   FlattenTrace* trace = nullptr, JsonLastReading* reading = nullptr);

// A file's content as it was read. The tree points into the text, so the object stays where it is.
class ConfigText {
public:
    // Reading and flattening raise Cancelled where `cancellation`, which may be null, asks for it.
    explicit ConfigText(ConfigFile file, const Cancellation* cancellation = nullptr) : m_file(file) {
        m_root.texts.StopOn(cancellation);
        m_root.nodes.StopOn(cancellation);
    }
    ConfigText(const ConfigText&) = delete;
    ConfigText& operator=(const ConfigText&) = delete;

    // Decodes and parses in place of what was read before; the result is IsAccepted(). The caller must keep
    // `bytes` until the object ends or reads again. Raises std::bad_alloc.
    bool Read(std::string_view bytes);

    // Whether the parse took as many UTF-16 units as the file has bytes. A byte order mark, a character of
    // several bytes or anything after the end of the document refuses the file.
    bool IsAccepted() const { return m_parseResult >= 1 && m_parseResult == m_fileLength; }
    bool IsRootAccepted() const { return zq::IsRootAccepted(m_file, m_root); }
    int32_t ParseResult() const { return m_parseResult; } // of ParseJsonValue
    int32_t FileLength() const { return m_fileLength; }   // in bytes

    // As FlattenConfig, and frees the tree on the way: the root is null from then on. The batch must not
    // outlive the object. REQUIRES: IsAccepted().
    bool Flatten(VariableBatch& batch, const HostLog& log) {
        JsonLastReading reading(m_root);
        return FlattenConfig(m_file, reading.Root(), batch, log, nullptr, &reading);
    }

    const JsonValue& Root() const { return m_root; }

private:
    ConfigFile m_file;
    std::wstring m_text; // empty where the bytes were read as they are
    JsonRoot m_root;
    int32_t m_parseResult = 0;
    int32_t m_fileLength = 0;
};

} // namespace zq
