// Writes the class definitions of a CIM-XML file to standard output as MOF.

#include "host/CCimXmlReader.h"
#include "host/CMofWriter.h"

#include <cstdlib>
#include <filesystem>
#include <iostream>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: mof_from_xml DEFINITIONS.xml\n";
        return EXIT_FAILURE;
    }
    const std::string path = argv[1];
    std::string error;
    const auto classes = CCimXmlReader::ReadFile(path, &error);
    if (!classes) {
        std::cerr << "mof_from_xml: " << error << "\n";
        return EXIT_FAILURE;
    }
    std::cout << "// Made by mof_from_xml from " << std::filesystem::path(path).filename().string()
              << "; change that file instead.\n\n"
              << CMofWriter::Write(*classes) << std::flush;
    return std::cout.good() ? EXIT_SUCCESS : EXIT_FAILURE;
}
