/**
 * What scripts/check-cost counts: calls of the exported `modify` with a JNI function table that uses plain strings.
 * There is no virtual machine, so that nothing else is counted. Prints the number of page faults.
 *
 *   storestate_cost LIBRARY STUDY CALLS
 */
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <jni.h>
#include <sys/resource.h>

namespace {

// A "Java string" is the address of its characters here, and an array the address of its first string.
const char* const OPTIONS[] = {"--stagestate", "nearline"};

JNINativeInterface_ functionTable() {
    JNINativeInterface_ table{};
    table.GetStringUTFChars = [](JNIEnv*, jstring string, jboolean*) { return reinterpret_cast<const char*>(string); };
    table.ReleaseStringUTFChars = [](JNIEnv*, jstring, const char*) {};
    table.GetArrayLength = [](JNIEnv*, jarray) -> jsize { return sizeof OPTIONS / sizeof *OPTIONS; };
    table.GetObjectArrayElement = [](JNIEnv*, jobjectArray, jsize index) {
        return reinterpret_cast<jobject>(const_cast<char*>(OPTIONS[index]));
    };
    table.DeleteLocalRef = [](JNIEnv*, jobject) {};
    return table;
}

} // namespace

int main(int argc, char** argv) {
    void* library = argc == 4 ? dlopen(argv[1], RTLD_LAZY) : nullptr;
    void* address = library != nullptr ? dlsym(library, "Java_quillon_util_StoreState_modify") : nullptr;
    if (address == nullptr) {
        fprintf(stderr, "usage: storestate_cost LIBRARY STUDY CALLS\n");
        return 2;
    }
    auto* modify = reinterpret_cast<jboolean (*)(JNIEnv*, jclass, jstring, jint, jobjectArray, jboolean)>(address);
    const JNINativeInterface_ functions = functionTable();
    JNIEnv environment{&functions};
    auto* options = reinterpret_cast<jobjectArray>(const_cast<char**>(OPTIONS));
    for (int i = atoi(argv[3]); i > 0; --i) {
        if (modify(&environment, nullptr, reinterpret_cast<jstring>(argv[2]), 1, options, JNI_FALSE) != JNI_TRUE) {
            fprintf(stderr, "modify failed\n");
            return 1;
        }
    }
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    printf("%ld\n", usage.ru_minflt);
    return 0;
}
