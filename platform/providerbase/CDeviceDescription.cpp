#include "providerbase/CDeviceDescription.h"

#include "comlib/CTraceUtility.h"
#include "comlib/ThreadCancellation.h"
#include "providerbase/TraceModule.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <sstream>
#include <utility>

namespace {

constexpr std::size_t kMaxFileSize = 65536;
constexpr unsigned int kMaxTimeoutSeconds = 86400;

const char kTimeoutName[] = "TimeoutSeconds";
const char kNameCharacters[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                               "0123456789_-";

// ---- Reading the file ----

std::string ReadingProblem(int error) {
    return std::string("cannot be read (") + strerrordesc_np(error) +
           "); make it readable for the running user";
}

// Says what is wrong and what to do; empty when the file can be trusted.
std::string FindFileProblem(const struct stat& status) {
    if (!S_ISREG(status.st_mode)) {
        return "is not a regular file; put a text file there";
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return "can be written by others than its owner; run chmod go-w on it";
    }
    if (status.st_uid != 0 && status.st_uid != geteuid()) {
        return "is owned by neither root nor the running user; run chown root on it";
    }
    return {};
}

// An open file; closed on every way out.
class CFile {
public:
    explicit CFile(const std::string& path)
        : m_iDescriptor(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {}
    ~CFile() {
        if (m_iDescriptor >= 0) {
            close(m_iDescriptor);
        }
    }
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;

    [[nodiscard]] int Get() const { return m_iDescriptor; }

private:
    int m_iDescriptor;
};

// Returns 0 and the text, or an error number. Reads at most one byte more than a file may have.
int ReadText(int descriptor, std::string* text) {
    std::string buffer(kMaxFileSize + 1, '\0');
    std::size_t filled = 0;
    while (filled < buffer.size()) {
        const ssize_t count = read(descriptor, buffer.data() + filled, buffer.size() - filled);
        if (count < 0 && errno != EINTR) {
            return errno;
        }
        if (count == 0) {
            break;
        }
        filled += count > 0 ? static_cast<std::size_t>(count) : 0;
    }
    buffer.resize(filled);
    text->swap(buffer);
    return 0;
}

// Fills the text and returns the empty string, or says what is wrong.
std::string ReadTrustedText(int descriptor, std::string* text) {
    // The open file is looked at, not its path: nobody can exchange it in between.
    struct stat status {};
    if (fstat(descriptor, &status) != 0) {
        return ReadingProblem(errno);
    }
    std::string problem = FindFileProblem(status);
    if (!problem.empty()) {
        return problem;
    }
    const int error = ReadText(descriptor, text);
    if (error != 0) {
        return ReadingProblem(error);
    }
    return text->size() > kMaxFileSize ? "is larger than 64 KiB; shorten it" : "";
}

// ---- Reading its lines ----

// Splits at blanks; double quotes group. False when a quote is not closed.
bool SplitWords(const std::string& text, CDeviceDescription::Words* words) {
    std::string word;
    bool isInWord = false;
    bool isQuoted = false;
    for (const char character : text) {
        if (character == '"') {
            isQuoted = !isQuoted;
            isInWord = true;
        } else if (isQuoted || (character != ' ' && character != '\t')) {
            word += character;
            isInWord = true;
        } else if (isInWord) {
            words->push_back(std::exchange(word, {}));
            isInWord = false;
        }
    }
    if (isInWord) {
        words->push_back(word);
    }
    return !isQuoted;
}

bool ParseTimeout(const std::string& text, std::chrono::seconds* timeout) {
    const char* const end = text.data() + text.size();
    unsigned int seconds = 0;
    const auto [rest, error] = std::from_chars(text.data(), end, seconds);
    if (error != std::errc() || rest != end || seconds == 0 || seconds > kMaxTimeoutSeconds) {
        return false;
    }
    *timeout = std::chrono::seconds(seconds);
    return true;
}

bool IsIgnored(const std::string& line) {
    return line.find_first_not_of(" \t") == std::string::npos || line.front() == '#';
}

bool HasControlCharacter(const std::string& line) {
    for (const char character : line) {
        const auto byte = static_cast<unsigned char>(character);
        if ((byte < 0x20 && character != '\t') || byte == 0x7F) {
            return true;
        }
    }
    return false;
}

// Takes the lines of a description one by one.
class CLineReader {
public:
    explicit CLineReader(CDeviceDescription* description) : m_pDescription(description) {}

    // Takes one line and returns the empty string, or says what is wrong with it and what to do.
    std::string Take(const std::string& line) {
        if (HasControlCharacter(line)) {
            return "has a control character; end lines in a line feed alone";
        }
        if (IsIgnored(line)) {
            return {};
        }
        const std::string::size_type equals = line.find('=');
        const std::string name = line.substr(0, equals);
        if (equals == std::string::npos || name.empty() ||
            name.find_first_not_of(kNameCharacters) != std::string::npos) {
            return "is no setting; write \"Name=command line\" without a blank in the name, or '#' "
                   "first for a comment";
        }
        const std::string value = line.substr(equals + 1);
        return name == kTimeoutName ? TakeTimeout(value) : TakeCommand(name, value);
    }

private:
    std::string TakeTimeout(const std::string& value) {
        if (std::exchange(m_bHasTimeout, true)) {
            return "gives TimeoutSeconds again; remove one of the lines";
        }
        return ParseTimeout(value, &m_pDescription->m_timeout)
                   ? ""
                   : "has another time-out than a whole number from 1 to 86400; write one";
    }

    std::string TakeCommand(const std::string& name, const std::string& value) {
        CDeviceDescription::Words words;
        if (!SplitWords(value, &words)) {
            return "has a quote that is not closed; close it";
        }
        if (words.empty() || words.front().empty()) {
            return "has an empty command; give the program to run";
        }
        const bool isNew = m_pDescription->m_commands.emplace(name, std::move(words)).second;
        return isNew ? "" : "gives \"" + name + "\" again; remove one of the lines";
    }

    CDeviceDescription* m_pDescription;
    bool m_bHasTimeout = false;
};

void TraceRefusal(const std::string& place, const std::string& problem) {
    CTraceUtility::WriteDebug(kTraceModule, CTraceUtility::TRACE_DBG_FAILURE,
                              "CDeviceDescription::Read() %s %s", place.c_str(), problem.c_str());
}

std::optional<CDeviceDescription> Parse(const std::string& path, const std::string& text) {
    CDeviceDescription description;
    CLineReader reader(&description);
    std::istringstream lines(text);
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        const std::string problem = reader.Take(line);
        if (!problem.empty()) {
            TraceRefusal(path + " line " + std::to_string(number), problem);
            return std::nullopt;
        }
    }
    return description;
}

} // namespace

std::optional<CDeviceDescription> CDeviceDescription::Read(const std::string& path) {
    const CCancellationGuard guard;
    const CFile file(path);
    if (file.Get() < 0) {
        if (errno != ENOENT) {
            TraceRefusal(path, ReadingProblem(errno));
        }
        return std::nullopt;
    }
    std::string text;
    const std::string problem = ReadTrustedText(file.Get(), &text);
    if (!problem.empty()) {
        TraceRefusal(path, problem);
        return std::nullopt;
    }
    return Parse(path, text);
}
