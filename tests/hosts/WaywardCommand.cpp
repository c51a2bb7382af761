// A command that leaves what it was started in.
//
//     wayward_command leave-group FILE    joins its parent's process group
//     wayward_command become-root FILE    becomes root as a whole, where it is set-user-ID root
//
// It then writes its process id to the file, and sleeps for a minute.

#include <unistd.h>

#include <cstdio>
#include <string>

int main(int argumentCount, char** arguments) {
    if (argumentCount != 3) {
        return 1;
    }
    const bool isDone = std::string(arguments[1]) == "leave-group"
                            ? setpgid(0, getpgid(getppid())) == 0
                            : setresuid(0, 0, 0) == 0;
    FILE* const file = std::fopen(arguments[2], "w");
    if (!isDone || file == nullptr || std::fprintf(file, "%d", getpid()) < 0 ||
        std::fclose(file) != 0) {
        return 2;
    }
    sleep(60);
    return 3;
}
