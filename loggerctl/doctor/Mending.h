#pragma once

#include <optional>
#include <string>

// The commands that mend what is wrong with files, for a POSIX shell, and what they have to know.
namespace doctor {

// A path as one word of a shell.
std::string Quoted(const std::string& path);

// Opens the file in the user's editor, at this line unless it is 0.
std::string EditCommand(const std::string& path, unsigned int line = 0);

// Installs a package again that is installed: by the first package manager on the PATH, apt-get
// where none is known. `rpm` is the package's name among RPM packages, where that is another.
std::string InstallCommand(const std::string& package, const std::string& rpm = "");

// Moves away what stands in the place of something else.
std::string MoveAsideCommand(const std::string& path);

// The line that a sentence names behind the path, as "PATH, line 3" or "PATH line 3"; 0 when it
// names none.
unsigned int LineNamed(const std::string& sentence, const std::string& path);

// Whether there is anything of this name; also where that cannot be told.
bool IsThere(const std::string& path);

// Whether a folder, or a regular file, of this name is there; a link is neither.
bool IsFolder(const std::string& path);
bool IsFile(const std::string& path);

// Why others than root and the running user could change what is at the path, a link being
// followed: a sentence, and the command that ends it. Nothing when they cannot, or there is
// nothing. Those who may write a folder with the sticky bit cannot change what is in it.
struct CDistrust {
    std::string m_text;
    std::string m_mend;
};
std::optional<CDistrust> FindDistrust(const std::string& path);

// For what has been refused for its owner or its mode: the command that ends that, as above; empty
// where they are not to blame.
std::string TrustCommand(const std::string& path);

// For a file that root cannot write: the command that lets it; empty where none is known.
std::string WritableCommand(const std::string& path);

} // namespace doctor
