#include "support/Testing.h"

#include <jni.h>

extern "C" jboolean Java_quillon_util_StoreState_modify(JNIEnv*, jclass, jstring, jint, jobjectArray, jboolean);

/**
 * A table of functions that can answer null at each place where a virtual machine may, which none does on demand.
 * A string is a text, an array a vector of texts; what is handed out is counted until it is given back.
 */
namespace vm {
using Array = std::vector<const char*>;
int callsBeforeFailure;     // of those that can fail
int characters, references; // handed out
bool pending;               // an exception of the virtual machine

template <class Text>
Text unlessFailing(Text text, int& handedOut) {
    EXPECT_FALSE(pending);
    pending = callsBeforeFailure-- == 0;
    handedOut += !pending;
    return pending ? nullptr : text;
}

const JNINativeInterface_* table() {
    static JNINativeInterface_ functions = {};
    functions.GetStringUTFChars = [](JNIEnv*, jstring string, jboolean*) {
        return unlessFailing(reinterpret_cast<const char*>(string), characters);
    };
    functions.ReleaseStringUTFChars = [](JNIEnv*, jstring, const char*) { --characters; };
    functions.GetArrayLength = [](JNIEnv*, jarray array) { return jsize(reinterpret_cast<Array*>(array)->size()); };
    functions.GetObjectArrayElement = [](JNIEnv*, jobjectArray array, jsize index) {
        EXPECT_LE(references, 1) << "those of a pair are given back with it";
        auto* text = const_cast<char*>(reinterpret_cast<Array*>(array)->at(size_t(index)));
        auto* element = unlessFailing(reinterpret_cast<jobject>(text), references);
        pending = false; // a null element is no exception
        return element;
    };
    functions.DeleteLocalRef = [](JNIEnv*, jobject) { --references; };
    functions.ExceptionClear = [](JNIEnv*) { pending = false; };
    return &functions;
}
} // namespace vm

TEST(NativeMethods, AnswerFalseWhateverTheVirtualMachineDenies) {
    const Workplace place;
    const std::string old = "Version=\"1\"\n", changed = old + "Folder=\"S\"\nForwardDevices=\"D\"\n";
    Workplace::write(place.record("S"), old);
    JNIEnv_ env = {vm::table()};
    char study[] = "S";
    vm::Array pairs = {"-f", study, "-w", "D"};
    auto* id = reinterpret_cast<jstring>(study);
    auto* options = reinterpret_cast<jobjectArray>(&pairs);
    for (const int calls : {0, 1, 2, 3, 4, 5, 6, 7, 8, 9}) { // enough: the study's one, two for each element
        vm::callsBeforeFailure = calls;
        SCOPED_TRACE(calls);
        EXPECT_EQ(Java_quillon_util_StoreState_modify(&env, nullptr, id, 2, options, 0), calls == 9);
        EXPECT_EQ(Workplace::read(place.record("S")), calls == 9 ? changed : old);
        EXPECT_FALSE(std::filesystem::exists(place.lockFile("S")));
        EXPECT_FALSE(vm::pending);
        EXPECT_EQ(vm::characters, 0);
        EXPECT_EQ(vm::references, 0);
    }
}
