#include "support/Testing.h"

#include <jni.h>

extern "C" jboolean Java_quillon_util_StoreState_modify(JNIEnv*, jclass, jstring, jint, jobjectArray, jboolean);

namespace {

char texts[][3] = {"-f", "S", "-w", "S"}; // the options
int stringsBeforeDenial;
int answersInUse = 0;
bool exceptionPending = false;

/** The functions of a virtual machine that denies a string, which no real one does on demand. A string is a text. */
JNINativeInterface_ functionTable() {
    JNINativeInterface_ functions = {};
    functions.GetStringUTFChars = [](JNIEnv*, jstring string, jboolean*) {
        EXPECT_FALSE(exceptionPending);
        EXPECT_LE(answersInUse, 4) << "the answers for the previous pair are released";
        exceptionPending = stringsBeforeDenial-- == 0;
        answersInUse += exceptionPending ? 0 : 1;
        return exceptionPending ? nullptr : reinterpret_cast<const char*>(string);
    };
    functions.ReleaseStringUTFChars = [](JNIEnv*, jstring, const char*) { --answersInUse; };
    functions.GetArrayLength = [](JNIEnv*, jarray) { return jsize(std::size(texts)); };
    functions.GetObjectArrayElement = [](JNIEnv*, jobjectArray, jsize index) {
        ++answersInUse;
        return reinterpret_cast<jobject>(texts[index]);
    };
    functions.DeleteLocalRef = [](JNIEnv*, jobject) { --answersInUse; };
    functions.ExceptionClear = [](JNIEnv*) { exceptionPending = false; };
    return functions;
}

TEST(NativeMethods, AnswerFalseWhicheverStringTheVirtualMachineDenies) {
    const Workplace place;
    const std::string old = "Version=\"1\"\n";
    Workplace::write(place.record("S"), old);
    const JNINativeInterface_ functions = functionTable();
    JNIEnv_ environment = {&functions};
    auto* study = reinterpret_cast<jstring>(texts[1]);
    auto* options = reinterpret_cast<jobjectArray>(texts);
    constexpr int STRINGS = 1 + std::size(texts);
    for (int denied = 0; denied <= STRINGS; ++denied) {
        SCOPED_TRACE(denied);
        stringsBeforeDenial = denied;
        const bool done = denied == STRINGS;
        EXPECT_EQ(Java_quillon_util_StoreState_modify(&environment, nullptr, study, 2, options, 0), done);
        EXPECT_EQ(Workplace::read(place.record("S")), done ? old + "Folder=\"S\"\nForwardDevices=\"S\"\n" : old);
        EXPECT_EQ(answersInUse, 0);
    }
}

} // namespace
