#include "db/StringBuffer.h"

#include <algorithm>
#include <cstring>
#include <memory>

StringBuffer::StringBuffer() : text(new char[1]()) {
}

StringBuffer::~StringBuffer() {
    delete[] text;
}

void StringBuffer::assign(const char* head, const char* tail) {
    const size_t headLength = strlen(head);
    char* joined = new char[headLength + strlen(tail) + 1];
    strcpy(joined, head);
    strcpy(joined + headLength, tail);
    delete[] text;
    text = joined;
}

StringBuffer& StringBuffer::set(const char* s) {
    if (s != nullptr) {
        assign("", s);
    }
    return *this;
}

StringBuffer& StringBuffer::append(const char* s) {
    if (s != nullptr && *s != '\0') {
        assign(text, s);
    }
    return *this;
}

StringBuffer& StringBuffer::append(StringBuffer* other) {
    const std::unique_ptr<StringBuffer> owned(other);
    return owned != nullptr ? append(owned->text) : *this;
}

StringBuffer& StringBuffer::replace(char from, char to) {
    std::replace(text, text + strlen(text), from, to);
    return *this;
}

const char* StringBuffer::truncate(unsigned int n) {
    const size_t length = strlen(text);
    if (n <= length) {
        text[length - n] = '\0';
    }
    return text;
}
