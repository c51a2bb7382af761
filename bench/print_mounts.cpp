// Stands in for the mount command: prints the table that was laid beside it, and does nothing else.

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <string>

int main(int /*count*/, char** arguments) {
    const int table = open((std::string(arguments[0]) + ".output").c_str(), O_RDONLY);
    std::array<char, 65536> buffer{};
    for (;;) {
        const ssize_t size = read(table, buffer.data(), buffer.size());
        if (size <= 0) {
            return size == 0 ? 0 : 1;
        }
        if (write(STDOUT_FILENO, buffer.data(), static_cast<std::size_t>(size)) != size) {
            return 1;
        }
    }
}
