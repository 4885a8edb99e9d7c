// The assignments of a batch in their order, each in as few bytes as it needs: a head, the value, and the
// name unless that is held elsewhere.
//
// Portable, one thread at a time. A record never moves.
#pragma once

#include "base/Arena.h"
#include "base/ShortCopy.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace zq {

// What is assigned, and to which map.
enum class BatchKind : uint8_t {
    Bool,
    Int64,  // the integer map only
    Number, // a whole number of a file: the integer and the double map
    Double,
    String
};

// An assignment as it is read back.
struct BatchEntry {
    const wchar_t* name; // what follows the prefix; null where that is a number
    union {
        uint8_t boolean;
        int64_t integer;
        double real;
        const wchar_t* text;
    };
    uint32_t nameLength; // or the number
    uint32_t textLength; // of a string
    uint32_t prefix;     // its number in the batch, from 1 on; 0 for none
    BatchKind kind;
};

// A value of any kind as its record has it, so that code that passes it on needs no branch for each kind.
struct BatchValue {
    int64_t bits = 0;        // the number or the truth value, or the address of a text
    uint32_t textLength = 0; // 0 for what is no text
};

class BatchRecords {
    // Followed by its records.
    struct Page {
        Page* next;
        std::byte* end; // of the records, once there is a next page
        size_t bytes;   // of all
    };

public:
    static constexpr uint32_t kLastPrefix = (uint32_t{1} << 27U) - 1;

    // How a record holds its name.
    enum class Naming : uint8_t {
        Copied,
        Outside, // by a pointer
        Numbered // the name is a number
    };

    class Release;

    class Iterator {
    public:
        using iterator_category = std::input_iterator_tag;
        using value_type = BatchEntry;
        using difference_type = std::ptrdiff_t;
        using pointer = void;
        using reference = const BatchEntry&;

        Iterator(const BatchRecords& records, const Page* page) : m_records(records) { EnterPage(page); }
        const BatchEntry& operator*() const { return m_entry; }
        const BatchEntry* operator->() const { return &m_entry; }
        Iterator& operator++() {
            m_record = m_next;
            // Those of a large batch are in no cache, and the processor itself does not look beyond a page.
            constexpr size_t kAhead = 1024;
            __builtin_prefetch(m_record + kAhead);
            if (m_record == m_end) {
                EnterPage(m_page->next);
            } else {
                m_next = Read(m_record, m_entry);
            }
            return *this;
        }
        void operator++(int) { ++*this; }
        bool operator==(const Iterator& other) const { return m_record == other.m_record; }

    private:
        friend class BatchRecords::Release;

        void EnterPage(const Page* page) {
            m_page = page;
            if (!page) {
                m_record = nullptr;
                return;
            }
            m_record = RecordsOf(page);
            m_end = m_records.EndOf(page);
            m_next = Read(m_record, m_entry);
        }

        const BatchRecords& m_records;
        const Page* m_page = nullptr;
        const std::byte* m_record = nullptr; // null at the end
        const std::byte* m_next = nullptr;   // after it
        const std::byte* m_end = nullptr;    // of the page
        BatchEntry m_entry{};
    };

    // Frees the records page by page, as an iterator leaves them.
    class Release {
    public:
        // `memory` is what all records are in, and nothing else is. Raises std::bad_alloc.
        Release(const BatchRecords& records, Arena& memory) : m_memory(memory), m_page(records.m_first) {}

        void FreeBefore(const Iterator& iterator) noexcept {
            while (m_page != iterator.m_page) {
                const Page* left = m_page;
                m_page = left->next;
                m_memory.GiveBack(left, left->bytes);
            }
        }

    private:
        Arena::Release m_memory;
        const Page* m_page; // the first that is not freed
    };

    size_t size() const { return m_size; }
    bool empty() const { return m_size == 0; }
    Iterator begin() const { return {*this, m_first}; }
    Iterator end() const { return {*this, nullptr}; }

    // How an entry is named.
    struct Name {
        Naming naming;
        uint32_t prefix;
        uint32_t length;      // or the number
        const wchar_t* units; // after the prefix
    };

    // Adds a record. Raises std::bad_alloc.
    void Add(Arena& memory, BatchKind kind, const Name& name, const BatchValue& value) {
        const size_t nameOffset = sizeof(Head) + ValueBytes(kind);
        std::byte* record = Append(memory, nameOffset + NameBytes(name.naming, name.length));
        const Head head{name.prefix << kPrefixShift | static_cast<uint32_t>(kind) << kKindShift |
                            static_cast<uint32_t>(name.naming),
                        name.length};
        std::memcpy(record, &head, sizeof(head));
        std::memcpy(record + sizeof(head), &value.bits, kScalarBytes);
        // What is no text has no length: the name, or the next record, is written over it.
        std::memcpy(record + sizeof(head) + kScalarBytes, &value.textLength, kLengthBytes);
        if (name.naming == Naming::Copied) {
            CopyShort(record + nameOffset, name.units, name.length * sizeof(wchar_t));
        } else if (name.naming == Naming::Outside) {
            std::memcpy(record + nameOffset, &name.units, sizeof(name.units));
        }
        ++m_size;
    }

private:
    struct Head {
        uint32_t marks; // the prefix, the kind, the naming
        uint32_t nameLength;

        uint32_t Prefix() const { return marks >> kPrefixShift; }
        BatchKind Kind() const { return static_cast<BatchKind>(marks >> kKindShift & 7U); }
        Naming HowNamed() const { return static_cast<Naming>(marks & 3U); }
    };

    static constexpr unsigned kKindShift = 2;
    static constexpr unsigned kPrefixShift = 5;
    static constexpr size_t kStep = 4;
    static constexpr size_t kPageBytes = 4096; // more for a record that needs more

    static constexpr size_t kScalarBytes = sizeof(int64_t);
    static constexpr size_t kLengthBytes = sizeof(uint32_t);
    static constexpr size_t ValueBytes(BatchKind kind) {
        return kScalarBytes + (kind == BatchKind::String ? kLengthBytes : 0);
    }
    static constexpr size_t NameBytes(Naming naming, uint32_t length) {
        switch (naming) {
        case Naming::Copied:
            return (length * sizeof(wchar_t) + kStep - 1) / kStep * kStep;
        case Naming::Outside:
            return sizeof(const wchar_t*);
        default:
            return 0;
        }
    }
    template <class T>
    static T Load(const std::byte* bytes) {
        T value;
        std::memcpy(&value, bytes, sizeof(value));
        return value;
    }

    // Returns the end of the record. Without a branch for each kind: what follows the value is taken for the
    // length of a text.
    static const std::byte* Read(const std::byte* record, BatchEntry& entry) {
        const auto head = Load<Head>(record);
        const std::byte* value = record + sizeof(Head);
        const std::byte* name = value + ValueBytes(head.Kind());
        const bool isCopied = head.HowNamed() == Naming::Copied;
        const bool isOutside = head.HowNamed() == Naming::Outside;
        entry.name = isCopied    ? reinterpret_cast<const wchar_t*>(name)
                     : isOutside ? Load<const wchar_t*>(name)
                                 : nullptr;
        std::memcpy(&entry.integer, value, kScalarBytes); // whichever of them it is
        entry.nameLength = head.nameLength;
        entry.textLength = Load<uint32_t>(value + kScalarBytes);
        entry.prefix = head.Prefix();
        entry.kind = head.Kind();
        return name + NameBytes(head.HowNamed(), head.nameLength);
    }

    static const std::byte* RecordsOf(const Page* page) {
        return reinterpret_cast<const std::byte*>(page + 1);
    }
    const std::byte* EndOf(const Page* page) const { return page == m_last ? m_next : page->end; }

    std::byte* Append(Arena& memory, size_t bytes) {
        if (bytes > static_cast<size_t>(m_end - m_next)) {
            AddPage(memory, bytes);
        }
        std::byte* record = m_next;
        m_next += bytes;
        return record;
    }

    void AddPage(Arena& memory, size_t bytes);

    Page* m_first = nullptr;
    Page* m_last = nullptr;
    std::byte* m_next = nullptr; // in the last page
    std::byte* m_end = nullptr;  // of that page
    size_t m_size = 0;
};

} // namespace zq
