#include "check/LastWriters.h"

namespace zq {

std::optional<LastWriters::Writer> LastWriters::Write(const PlacedVariable& variable, size_t file) {
    const std::wstring_view name = VariableBatch::NameOf(variable.entry);
    const Writer writer = {file, variable.node};
    if (variable.entry.kind != Kind::Number) {
        return WriteInto(variable.entry.kind, name, writer);
    }
    // A whole number is written as integer and as double.
    const std::optional<Writer> integer = WriteInto(Kind::Int64, name, writer);
    const std::optional<Writer> real = WriteInto(Kind::Double, name, writer);
    return integer ? integer : real;
}

std::optional<LastWriters::Writer> LastWriters::WriteInto(Kind map, std::wstring_view name,
                                                          const Writer& writer) {
    const auto [last, isNew] = m_last.try_emplace({name, map}, writer);
    const Writer earlier = std::exchange(last->second, writer);
    return isNew || earlier == writer ? std::nullopt : std::optional(earlier);
}

} // namespace zq
