#include "support/temporary_folder.h"

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <system_error>
#include <unistd.h>

namespace kestrane {
namespace {

namespace fs = std::filesystem;

fs::path PathOf(TemporaryFolder::Place place) {
    const fs::path inMemory = "/dev/shm";
    const bool fits = place == TemporaryFolder::Place::Memory && ::access(inMemory.c_str(), W_OK) == 0;
    return fits ? inMemory : fs::temp_directory_path();
}

}  // namespace

std::string ContentOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

TemporaryFolder::TemporaryFolder(Place place) {
    std::string name = (PathOf(place) / "kestrane-test-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), name);
    }
    path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

fs::path TemporaryFolder::Write(const fs::path& name, std::string_view text) const {
    const fs::path file = path_ / name;
    fs::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << text;
    return file;
}

TemporaryFolders::TemporaryFolders() {
    fs::create_directory(CommonAppData());
    fs::create_directory(Documents());
}

}  // namespace kestrane
