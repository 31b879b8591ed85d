/**
 * The native methods of quillon.util.StoreState. They keep nothing about a study between calls. No C++ exception
 * reaches the virtual machine and no Java exception is left pending: every failure is the result false.
 */
#include "jni/JavaArrayElement.h"
#include "jni/JavaString.h"
#include "storestate/ModifyOptions.h"
#include "storestate/StoreState.h"
#include "storestate/StudyLock.h"
#include "support/Export.h"

#include <jni.h>

using storestate::JavaArrayElement;
using storestate::JavaString;

namespace {

/** The frame of all native methods: calls `work` with a record of the study. */
template <class Work>
jboolean withRecord(JNIEnv* env, jstring studyId, Work work) noexcept {
    try {
        JavaString id(env, studyId);
        if (id.text() == nullptr) {
            return JNI_FALSE;
        }
        StoreState state(id.text(), "");
        bool result = false;
        try {
            result = work(state);
        } catch (...) {
            result = false; // the cause is not reported to Java
        }
        id.release(); // before the record's destructor, which may release a lock
        return result ? JNI_TRUE : JNI_FALSE;
    } catch (...) {
        return JNI_FALSE;
    }
}

/** Reads the pair of options that begins at `index`, which then moves on. */
NextPair readPair(JNIEnv* env, jobjectArray options, jsize& index, OptionPair& pair) {
    const jsize count = env->GetArrayLength(options);
    if (index >= count) {
        return NextPair::NONE_LEFT;
    }
    if (index + 1 == count) {
        return NextPair::UNAVAILABLE;
    }
    const JavaArrayElement nameElement(env, options, index);
    JavaString name(env, nameElement.string());
    const JavaArrayElement valueElement(env, options, index + 1);
    const JavaString value(env, valueElement.string());
    if (name.text() == nullptr || value.text() == nullptr) {
        return NextPair::UNAVAILABLE;
    }
    pair = {name.text(), value.text()};
    name.release(); // in the order in which they were taken
    index += 2;
    return NextPair::READ;
}

bool modify(JNIEnv* env, StoreState& state, jint existenceMode, jobjectArray options) {
    if (options == nullptr) {
        return loadForModify(state, existenceMode);
    }
    jsize index = 0;
    const auto readNext = [&](OptionPair& pair) { return readPair(env, options, index, pair); };
    return modifyRecord(state, existenceMode, readNext) == ModifyResult::DONE;
}

} // namespace

extern "C" {

STORESTATE_EXPORT jboolean JNICALL Java_quillon_util_StoreState_lock(JNIEnv* env, jclass, jstring studyId) {
    return withRecord(env, studyId, storestate::lockStudy);
}

STORESTATE_EXPORT jboolean JNICALL Java_quillon_util_StoreState_unlock(JNIEnv* env, jclass, jstring studyId) {
    return withRecord(env, studyId, storestate::unlockStudy);
}

STORESTATE_EXPORT jboolean JNICALL Java_quillon_util_StoreState_convert(JNIEnv* env, jclass, jstring studyId,
                                                                        jboolean lockHeld) {
    return withRecord(env, studyId, [=](StoreState& state) {
        state.useLock = lockHeld == JNI_FALSE;
        state.load();
        return state.save();
    });
}

STORESTATE_EXPORT jboolean JNICALL Java_quillon_util_StoreState_modify(JNIEnv* env, jclass, jstring studyId,
                                                                       jint existenceMode, jobjectArray options,
                                                                       jboolean lockHeld) {
    return withRecord(env, studyId, [=](StoreState& state) {
        state.useLock = lockHeld == JNI_FALSE;
        return modify(env, state, existenceMode, options);
    });
}
}
