#include "jni/ModifyOptions.h"
#include "storestate/RecordFormat.h"
#include "storestate/TextFile.h"
#include "support/Workplace.h"

#include <gtest/gtest.h>
#include <jni.h>
#include <map>
#include <vector>

using Options = std::vector<const char*>;

static void fill(StoreState& state, const std::string& text) {
    RecordReader reader(state, stderr);
    for (std::string_view rest = text; !rest.empty();) {
        reader.readLine(takePiece(rest));
    }
}

TEST(ModifyOptions, ChangeTheRecordInTheirOrder) {
    const struct {
        const char* before;
        Options options; // both names of an option have the same effect
        const char* after;
    } cases[] = {
        {"", {"--processmode -p", "v"}, "ProcessMode=\"v\"\n"},
        {"", {"--stagestate -g", "v"}, "StageState=\"v\"\n"},
        {"", {"--folder -f", "v"}, "Folder=\"v\"\n"},
        {"", {"--source -c", "v"}, "SourceDevice=\"v\"\n"},
        {"", {"--archive -a", "v"}, "ArchiveDevice=\"v\"\n"},
        {"", {"--derived -d", "v"}, "Derived=\"v\"\n"},
        {"", {"--sourcestudy -y", "v"}, "SourceStudy=\"v\"\n"},
        {"Folder=\"F\"\n", {"--folder -f", ""}, ""},
        {"Retrieved=\"yes\"\n",
         {"--dontedit -U", "yes", "--dontdelete -D", "yes", "--retrieved -R", "Yes"},
         "DontEdit=\"yes\"\nDontDelete=\"yes\"\n"},
        {"", {"--dontedit -U", "yes", "--dontedit -U", "no"}, ""},
        {"OwnerDevice=\"X\"\n", {"--owner -O", "yes"}, "StudyOwner=\"yes\"\n"},
        {"OwnerDevice=\"X\"\nStudyOwner=\"yes\"\n", {"--owner -O", "no"}, "OwnerDevice=\"X\"\n"},
        {"StudyOwner=\"yes\"\nStagedDevices=\"a X b\"\n",
         {"--setowner -o", "X"},
         "OwnerDevice=\"X\"\nStagedDevices=\"a b\"\n"},
        {"OwnerDevice=\"X\"\n", {"--setowner -o", ""}, "StudyOwner=\"yes\"\n"},
        {"OwnerDevice=\"X\"\n",
         {"--setstaged -s", "X", "--setstaged -s", "X"},
         "StudyOwner=\"yes\"\nStagedDevices=\"X\"\n"},
        {"OwnerDevice=\"X\"\n", {"--setstaged -s", "Y"}, "OwnerDevice=\"X\"\nStagedDevices=\"Y\"\n"},
        {"StagedDevices=\"X Y\"\n", {"--setreportonly -e", "X"}, "StagedDevices=\"Y\"\n"},
        {"OwnerDevice=\"X\"\n", {"--setreportonly -e", "X"}, "StudyOwner=\"yes\"\n"},
        {"StagedDevices=\"a b c\"\nForwardDevices=\"a d\"\n",
         {"--removedevice -r", "a"},
         "StagedDevices=\"c b\"\nForwardDevices=\"d\"\n"},
        {"OwnerDevice=\"a\"\n", {"--removedevice -r", "a"}, "StudyOwner=\"yes\"\n"},
        {"OwnerDevice=\"a\"\n", {"--removedevice -r", "none"}, "OwnerDevice=\"a\"\n"},
        {"", {"--fwddevice -w", "A", "--fwddevice -w", "A", "--fwddevice -w", "B"}, "ForwardDevices=\"A B\"\n"},
        {"", {"--autodevice -b", "P.C;W.F"}, "OwnerDevice=\"P\"\nForwardDevices=\"W\"\n"},
        {"", {"--Folder -F", "x", "--folder=y -fy", "x", "--folder\t -f\t", "x", "-- -", "x"}, ""},
    };
    for (const auto& [before, options, after] : cases) {
        for (const bool useShort : {false, true}) {
            StoreState state("S", ".");
            fill(state, before);
            for (size_t i = 0; i < options.size(); i += 2) {
                const std::string names = options[i];
                const size_t blank = names.find(' ');
                applyModifyOption(state, (useShort ? names.substr(blank + 1) : names.substr(0, blank)).c_str(),
                                  options[i + 1]);
            }
            EXPECT_EQ(formatRecord(state), std::string("Version=\"0\"\n") + after) << options[0] << useShort;
        }
    }
    StoreState state("S", ".");
    for (const char* option : {"-e", "-s", "-e", "-o", "-e", "-r"}) {
        applyModifyOption(state, option, "X");
        EXPECT_EQ(state.reportOnlyDevices.Contains("X"), option == std::string("-e"));
    }
}

extern "C" {
jboolean Java_quillon_util_StoreState_lock(JNIEnv*, jclass, jstring);
jboolean Java_quillon_util_StoreState_unlock(JNIEnv*, jclass, jstring);
jboolean Java_quillon_util_StoreState_convert(JNIEnv*, jclass, jstring, jboolean);
jboolean Java_quillon_util_StoreState_modify(JNIEnv*, jclass, jstring, jint, jobjectArray, jboolean);
}

/**
 * A table of functions that can answer null at each place where a virtual machine may, which none does on demand.
 * A string is a std::string, an array a vector of those; what is handed out is counted until it is given back.
 */
namespace vm {
using Array = std::vector<std::string*>;
int callsBeforeFailure;     // of GetStringUTFChars
int characters, references; // handed out
bool pending;               // an exception of the virtual machine

const char* getChars(JNIEnv*, jstring string, jboolean* isCopy) {
    EXPECT_TRUE(string != nullptr && isCopy == nullptr && !pending);
    if (callsBeforeFailure-- == 0) {
        pending = true;
        return nullptr;
    }
    ++characters;
    return reinterpret_cast<std::string*>(string)->c_str();
}
void releaseChars(JNIEnv*, jstring string, const char* text) {
    EXPECT_EQ(text, reinterpret_cast<std::string*>(string)->c_str());
    --characters;
}
jsize length(JNIEnv*, jarray array) {
    return static_cast<jsize>(reinterpret_cast<Array*>(array)->size());
}
jobject element(JNIEnv*, jobjectArray array, jsize index) {
    EXPECT_LE(references, 1) << "those of a pair are given back with it";
    EXPECT_FALSE(pending);
    std::string* found = reinterpret_cast<Array*>(array)->at(static_cast<size_t>(index));
    pending = found == nullptr;
    references += found != nullptr;
    return reinterpret_cast<jobject>(found);
}
void deleteReference(JNIEnv*, jobject) {
    --references;
}
void clear(JNIEnv*) {
    pending = false;
}
} // namespace vm

TEST(NativeMethods, AnswerFalseWhateverTheVirtualMachineDenies) {
    Workplace place;
    JNINativeInterface_ functions = {};
    functions.GetStringUTFChars = vm::getChars;
    functions.ReleaseStringUTFChars = vm::releaseChars;
    functions.GetArrayLength = vm::length;
    functions.GetObjectArrayElement = vm::element;
    functions.DeleteLocalRef = vm::deleteReference;
    functions.ExceptionClear = vm::clear;
    JNIEnv_ env = {&functions};
    std::string study = "S", name = "-w", value = "D", folder = "-f";
    auto* id = reinterpret_cast<jstring>(&study);
    const auto modify = [&](const vm::Array& options) {
        return Java_quillon_util_StoreState_modify(&env, nullptr, id, 2,
                                                   reinterpret_cast<jobjectArray>(const_cast<vm::Array*>(&options)), 0);
    };
    const std::string old = "Version=\"1\"\nFolder=\"F\"\n";
    const struct {
        vm::Array options;
        int callsBeforeFailure;
        std::string after; // empty: false, and the record stays
    } cases[] = {
        {{}, -1, old},
        {{&name, &value}, -1, old + "ForwardDevices=\"D\"\n"},
        {{&name, &value, &folder, &study}, -1, "Version=\"1\"\nFolder=\"S\"\nForwardDevices=\"D\"\n"},
        {{&name}, -1, ""},
        {{&folder, &value, &name}, -1, ""},
        {{&name, nullptr}, -1, ""},
        {{nullptr, &value}, -1, ""},
        {{&name, &value, nullptr, nullptr}, -1, ""},
        {{&name, &value}, 0, ""},
        {{&name, &value}, 1, ""},
        {{&name, &value}, 2, ""},
        {{&folder, &value, &name, &value}, 4, ""},
    };
    for (const auto& [options, failure, after] : cases) {
        Workplace::write(place.record("S"), old);
        vm::callsBeforeFailure = failure;
        EXPECT_EQ(modify(options), !after.empty());
        EXPECT_EQ(Workplace::read(place.record("S")), after.empty() ? old : after);
        EXPECT_FALSE(vm::pending || std::filesystem::exists(place.lockFile("S")));
        EXPECT_EQ(vm::characters + vm::references, 0);
    }
    for (const int failure : {-1, 0}) { // a null identifier, and characters that cannot be had
        auto* missing = failure == 0 ? id : nullptr;
        for (auto* call : {Java_quillon_util_StoreState_lock, Java_quillon_util_StoreState_unlock}) {
            vm::callsBeforeFailure = failure;
            EXPECT_EQ(call(&env, nullptr, missing), JNI_FALSE);
        }
        vm::callsBeforeFailure = failure;
        EXPECT_EQ(Java_quillon_util_StoreState_convert(&env, nullptr, missing, 0), JNI_FALSE);
        EXPECT_FALSE(vm::pending);
    }
    vm::callsBeforeFailure = -1;
    EXPECT_EQ(Java_quillon_util_StoreState_modify(&env, nullptr, id, 1, nullptr, 0), JNI_TRUE);
    std::filesystem::create_directory(place.lockFile("S"));
    EXPECT_EQ(Java_quillon_util_StoreState_unlock(&env, nullptr, id), JNI_FALSE) << "cannot be removed";
}
