#ifndef JNI_JAVAARRAYELEMENT_H
#define JNI_JAVAARRAYELEMENT_H

#include <jni.h>

namespace storestate {

/** The local reference to one element of a Java array of strings, which may be null. The destructor releases it. */
class JavaArrayElement {
public:
    JavaArrayElement(JNIEnv* environment, jobjectArray array, jsize index)
        : env(environment), reference(environment->GetObjectArrayElement(array, index)) {}
    JavaArrayElement(const JavaArrayElement&) = delete;
    JavaArrayElement& operator=(const JavaArrayElement&) = delete;
    ~JavaArrayElement() {
        if (reference != nullptr) {
            env->DeleteLocalRef(reference);
        }
    }

    jstring string() const { return static_cast<jstring>(reference); }

private:
    JNIEnv* env;
    jobject reference;
};

} // namespace storestate

#endif
