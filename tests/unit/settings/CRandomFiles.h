#pragma once

#include "settings/CLoggerConf.h"

#include <cstdint>
#include <random>
#include <string>
#include <vector>

// A pair of settings files and a mount table, made from a seed: comments, blank lines, other keys,
// odd spacing, carriage returns, several lines of a key, marked lines, and names of many bytes. The
// files can always be read. Knows what they must hold once a record was written into them.
class CRandomFiles {
public:
    explicit CRandomFiles(unsigned int seed);

    [[nodiscard]] std::string Agent() const { return Text(m_agent); }
    [[nodiscard]] std::string Alert() const { return Text(m_alert); }
    // What the mount command prints.
    [[nodiscard]] const std::string& MountOutput() const { return m_sMountOutput; }

    [[nodiscard]] std::string AgentWith(const CLoggerConf& conf) const;
    [[nodiscard]] std::string AlertWith(const CLoggerConf& conf) const;

    // Settings for these files: any switches and numbers, one row per mounted file system.
    CLoggerConf MakeConf();

private:
    enum class Kind { kOther, kSwitch, kCpu, kMemory, kFileSystem, kVolume };

    // A line; the system owns what stands between head and tail, or, of a volume, the whole line.
    struct Line {
        Kind m_kind;
        std::string m_sHead;
        std::string m_sOwned;
        std::string m_sTail;
        std::size_t m_switch;  // which one, of a switch
        std::string m_sVolume; // the name, of a volume
    };
    using Lines = std::vector<Line>;

    static std::string Text(const Lines& lines);

    void MakeMountTable();
    void MakeAgent();
    void MakeAlert();
    Line MakeOtherLine(const std::vector<std::string>& likeASetting);
    Line MakeSwitchLine(std::size_t index);
    Line MakeListLine(Kind kind, const std::string& key, int numbers);
    Line MakeVolumeLine();

    std::uint32_t Number();
    // A number below the limit.
    std::size_t Below(std::size_t limit);
    bool Toss() { return Below(2) == 0; }
    const std::string& OneOf(const std::vector<std::string>& words);
    // Some of the words in a row, possibly none.
    std::string SomeOf(const std::vector<std::string>& words);
    // Settles the order and adds lines that are no settings.
    void Mix(const std::vector<std::string>& likeASetting, Lines* lines);

    [[nodiscard]] bool HasLineOf(const std::string& volume) const;
    [[nodiscard]] std::string Block(const CLoggerConf& conf) const;

    std::mt19937 m_random;
    std::vector<std::string> m_mounted;
    std::string m_sMountOutput;
    Lines m_agent;
    Lines m_alert;
};
