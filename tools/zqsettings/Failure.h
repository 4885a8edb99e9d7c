// How a command ends other than well, and the program's exit codes.
#pragma once

#include <stdexcept>
#include <string>

namespace zq::tool {

// The same for every command; docs/zqsettings.md lists what each of them means there.
enum class ExitCode : int {
    Yes = 0,    // done, or the answer is yes
    No = 1,     // the answer is no: a file is refused, a name unknown, a value not acceptable
    Cannot = 2, // it could not look or act: a file or folder is missing, held or not writable
    Usage = 3   // the command line cannot be understood
};

// Ends a command with one sentence for stderr. The text is UTF-8 and ends without a full stop.
class Failure : public std::runtime_error {
public:
    explicit Failure(const std::string& text, ExitCode code = ExitCode::Cannot)
        : std::runtime_error(text), m_code(code) {}

    ExitCode Code() const { return m_code; }

private:
    ExitCode m_code;
};

// Ends a command that has printed everything it has to say.
struct Ended {
    ExitCode code;
};

} // namespace zq::tool
