// No identifier makes the supplied plug-in leave the repository root.
#include "fuzz/Fields.h"
#include "repository/RepositoryHandler.h"

#include <memory>

namespace fs = std::filesystem;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const Workplace place;
    const std::string root = place.repository();
    const std::string study = std::string(data, data + size).c_str();
    const std::unique_ptr<char[]> made(createDirectory_(root.c_str(), study.c_str(), nullptr, false));
    const std::unique_ptr<char[]> found(getLocation_(root.c_str(), study.c_str(), nullptr));
    REQUIRE((made != nullptr) == (found != nullptr));
    if (made != nullptr) {
        REQUIRE(root + "/" + study == made.get() && root + "/" + study == found.get());
        REQUIRE(fs::canonical(made.get()).parent_path() == fs::canonical(root) && fs::remove(made.get()));
    }
    REQUIRE(fs::is_empty(root) && std::distance(fs::directory_iterator(place.root), {}) == 2);
    return 0;
}
