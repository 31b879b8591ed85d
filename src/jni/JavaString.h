#ifndef JNI_JAVASTRING_H
#define JNI_JAVASTRING_H

#include <jni.h>

namespace storestate {

/**
 * The modified UTF-8 characters of a Java string, given back by the destructor at the latest. A null string, or
 * characters that the virtual machine cannot provide, leave `text()` null and no Java exception pending.
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

    /** Null when there are no characters, or no longer. */
    const char* text() const { return characters; }

    /** Gives the characters back now. */
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
