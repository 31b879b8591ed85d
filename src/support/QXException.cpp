#include "support/QXException.h"

#include <cstdarg>
#include <cstring>

namespace {

constexpr size_t MESSAGE_BUFFER = 1024; ///< bytes, terminator included
constexpr size_t NUMBER_BUFFER = 64;    ///< more than any number needs

std::string format(const char* text, va_list args) {
    char buffer[MESSAGE_BUFFER] = "";
    vsnprintf(buffer, sizeof buffer, text, args);
    return buffer;
}

} // namespace

QXException::QXException() : QXException(1) {
}

QXException::QXException(int number) : QXException(number, std::string("Unknown exception")) {
}

QXException::QXException(const char* text, ...) : QXException() {
    va_list args;
    va_start(args, text);
    message = format(text, args);
    va_end(args);
}

QXException::QXException(int number, const char* text, ...) : QXException(number) {
    va_list args;
    va_start(args, text);
    message = format(text, args);
    va_end(args);
}

QXException::QXException(int number, const std::string& text) : message(text), errorNumber(number) {
}

QXException::~QXException() = default;

void QXException::render(std::string& out, const char* prefix) const {
    char number[NUMBER_BUFFER];
    snprintf(number, sizeof number, "[%d]", errorNumber);
    out = std::string(prefix) + number + " " + message;
}

void QXException::toString(std::string& out) {
    render(out, "Unknown Exception: ");
}

char* QXException::toString() {
    std::string text;
    toString(text);
    char* copy = new char[text.size() + 1];
    memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

void QXException::print(std::ostream& os) {
    std::string text;
    toString(text);
    os << text << std::endl;
}

void QXException::print(FILE* stream) {
    std::string text;
    toString(text);
    fprintf(stream, "%s\n", text.c_str());
}

void QXException::toString(std::string& out) const {
    const_cast<QXException*>(this)->toString(out);
}

char* QXException::toString() const {
    return const_cast<QXException*>(this)->toString();
}

void QXException::print(std::ostream& os) const {
    const_cast<QXException*>(this)->print(os);
}

void QXException::print(FILE* stream) const {
    const_cast<QXException*>(this)->print(stream);
}

QXIOException::QXIOException(int number, const std::string& text) : QXException(number, text) {
}

QXIOException::~QXIOException() = default;

void QXIOException::toString(std::string& out) {
    render(out, "IO Exception: ");
}

QXTimeoutException::QXTimeoutException(int number, const std::string& text) : QXException(number, text) {
}

QXTimeoutException::~QXTimeoutException() = default;

void QXTimeoutException::toString(std::string& out) {
    render(out, "Timeout Exception: ");
}

QXAssertionException::QXAssertionException(const char* asserted, long lineNumber, const char* sourceFile)
    : condition(asserted), file(sourceFile), line(lineNumber), hasDetail(false) {
    message = sentence();
}

QXAssertionException::QXAssertionException(const char* asserted, long lineNumber, const char* sourceFile,
                                           const char* text, ...)
    : condition(asserted), file(sourceFile), line(lineNumber), hasDetail(true) {
    va_list args;
    va_start(args, text);
    message = format(text, args);
    va_end(args);
}

QXAssertionException::~QXAssertionException() = default;

std::string QXAssertionException::sentence() const {
    char number[NUMBER_BUFFER];
    snprintf(number, sizeof number, "%ld", line);
    return "ASSERT (" + condition + ") in " + file + " at line " + number + ".";
}

void QXAssertionException::toString(std::string& out) {
    out = hasDetail ? sentence() + "\n" + message : message;
}
