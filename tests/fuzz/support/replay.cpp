// Runs a fuzz target on every file of a folder, without a fuzzer. Fails where the folder holds
// none.

#include "tests/fuzz/support/FuzzTarget.h"

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <vector>

namespace {

void Run(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error(path.string() + " cannot be read");
    }
    const std::vector<char> bytes{std::istreambuf_iterator<char>(file), {}};
    std::cout << path.filename().string() << std::endl; // known also when the target ends us
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
}

int RunAll(const std::filesystem::path& folder) {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        Run(entry.path());
        ++count;
    }
    if (count == 0) {
        throw std::runtime_error(folder.string() + " is empty");
    }
    return count;
}

} // namespace

int main(int count, char** arguments) {
    if (count != 2) {
        std::cerr << "Usage: " << arguments[0] << " FOLDER\n";
        return 2;
    }
    try {
        std::cout << RunAll(arguments[1]) << " inputs" << std::endl;
    } catch (const std::exception& failure) {
        std::cerr << failure.what() << '\n';
        return 1;
    }
    return 0;
}
