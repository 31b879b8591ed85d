#include "support/Testing.h"

#include <jni.h>

extern "C" jboolean Java_quillon_util_StoreState_modify(JNIEnv*, jclass, jstring, jint, jobjectArray, jboolean);

/**
 * A function table of a virtual machine that can deny any of its answers, which no real one does on demand. A string is
 * a text, an array a vector of texts.
 */
namespace machine {

using Array = std::vector<char*>;

int callsBeforeDenial;
int answersInUse = 0;
bool exceptionPending = false;

template <class Answer>
Answer unlessDenied(Answer answer) {
    EXPECT_FALSE(exceptionPending);
    EXPECT_LE(answersInUse, 4) << "the answers for the previous pair are released";
    exceptionPending = callsBeforeDenial-- == 0;
    answersInUse += exceptionPending ? 0 : 1;
    return exceptionPending ? nullptr : answer;
}

JNINativeInterface_ functionTable() {
    JNINativeInterface_ functions = {};
    functions.GetStringUTFChars = [](JNIEnv*, jstring string, jboolean*) {
        return unlessDenied(reinterpret_cast<const char*>(string));
    };
    functions.ReleaseStringUTFChars = [](JNIEnv*, jstring, const char*) { --answersInUse; };
    functions.GetArrayLength = [](JNIEnv*, jarray array) { return jsize(reinterpret_cast<Array*>(array)->size()); };
    functions.GetObjectArrayElement = [](JNIEnv*, jobjectArray array, jsize index) {
        auto* element = unlessDenied(reinterpret_cast<jobject>(reinterpret_cast<Array*>(array)->at(size_t(index))));
        exceptionPending = false; // a null element is no exception
        return element;
    };
    functions.DeleteLocalRef = [](JNIEnv*, jobject) { --answersInUse; };
    functions.ExceptionClear = [](JNIEnv*) { exceptionPending = false; };
    return functions;
}

} // namespace machine

TEST(NativeMethods, AnswerFalseWhateverTheVirtualMachineDenies) {
    const Workplace place;
    const std::string old = "Version=\"1\"\n";
    Workplace::write(place.record("S"), old);
    const JNINativeInterface_ functions = machine::functionTable();
    JNIEnv_ environment = {&functions};
    char study[] = "S";
    char folder[] = "-f";
    char forward[] = "-w";
    machine::Array pairs = {folder, study, forward, study};
    auto* id = reinterpret_cast<jstring>(study);
    auto* options = reinterpret_cast<jobjectArray>(&pairs);
    constexpr int CALLS = 9; // one for the study, two for each element
    for (int denied = 0; denied <= CALLS; ++denied) {
        SCOPED_TRACE(denied);
        machine::callsBeforeDenial = denied;
        const bool done = denied == CALLS;
        EXPECT_EQ(Java_quillon_util_StoreState_modify(&environment, nullptr, id, 2, options, 0), done);
        EXPECT_EQ(Workplace::read(place.record("S")), done ? old + "Folder=\"S\"\nForwardDevices=\"S\"\n" : old);
        EXPECT_FALSE(std::filesystem::exists(place.lockFile("S")));
        EXPECT_FALSE(machine::exceptionPending);
        EXPECT_EQ(machine::answersInUse, 0);
    }
}
