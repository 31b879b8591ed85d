#include "storestate/StoreState.h"
#include "support/Workplace.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

/** A 32-bit build that asks for short dates (and with them for short inodes) gets EOVERFLOW and misses the record. */
TEST(WideDates, RecordOfALaterYearThan2038IsFound) {
    const Workplace place;
    Workplace::write(place.record("1.2"), "Version=\"1\"\nFolder=\"found\"\n");
    for (const std::string& path : {place.record("1.2"), place.repository() + "/1.2"}) {
        const timespec late[] = {{2500000000, 0}, {2500000000, 0}};
        struct stat status = {};
        ASSERT_EQ(0, utimensat(-1, path.c_str(), late, 0));
        ASSERT_EQ(0, stat(path.c_str(), &status));
        if (status.st_mtime != late->tv_sec) { GTEST_SKIP() << "the file system of " << path << " has no such dates"; }
    }
    StoreState state("1.2", "");
    EXPECT_TRUE(state.exists());
    EXPECT_TRUE(state.load());
    EXPECT_EQ("found", state.folder);
}
