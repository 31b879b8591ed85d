# What the library needs: ofstd, the MySQL client library and a JDK.

find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)

find_path(OFSTD_INCLUDE_DIR dcmtk/ofstd/ofuoset.h REQUIRED)
find_library(OFSTD_LIBRARY ofstd REQUIRED)
add_library(ofstd INTERFACE IMPORTED)
target_include_directories(ofstd INTERFACE ${OFSTD_INCLUDE_DIR})
target_link_libraries(ofstd INTERFACE ${OFSTD_LIBRARY})

# A distribution has one of the two; both declare the same functions in mysql.h.
pkg_search_module(MYSQL REQUIRED IMPORTED_TARGET libmariadb mysqlclient)
message(STATUS "Database client: ${MYSQL_MODULE_NAME} ${MYSQL_VERSION}")

find_package(Java 1.8 REQUIRED COMPONENTS Development)
# The headers of the JDK whose compiler is used. Unlike FindJNI, this also accepts a JDK without a window system.
file(REAL_PATH ${Java_JAVAC_EXECUTABLE} javac)
cmake_path(GET javac PARENT_PATH jdk_bin)
find_path(JNI_INCLUDE_DIR jni.h HINTS ${jdk_bin}/../include REQUIRED)
set(JNI_INCLUDE_DIRS ${JNI_INCLUDE_DIR} ${JNI_INCLUDE_DIR}/linux)
