#ifndef JNI_JAVASTRING_H
#define JNI_JAVASTRING_H

#include <jni.h>

namespace storestate {

/**
 * The modified UTF-8 characters of a Java string. The destructor releases them unless release() has. `text()` is null
 * for a null string and if the virtual machine cannot provide the characters; no Java exception is left pending.
 */
class JavaString {
public:
    JavaString(JNIEnv* environment, jstring javaString)
        : env(environment), string(javaString),
          characters(javaString != nullptr ? environment->GetStringUTFChars(javaString, nullptr) : nullptr) {
        if (string != nullptr && characters == nullptr) {
            env->ExceptionClear();
        }
    }
    JavaString(const JavaString&) = delete;
    JavaString& operator=(const JavaString&) = delete;
    ~JavaString() { release(); }

    /** Null if there are no characters or they have been released. */
    const char* text() const { return characters; }

    /** Releases the characters now. */
    void release() {
        if (characters != nullptr) {
            env->ReleaseStringUTFChars(string, characters);
            characters = nullptr;
        }
    }

private:
    JNIEnv* env;
    jstring string;
    const char* characters;
};

} // namespace storestate

#endif
