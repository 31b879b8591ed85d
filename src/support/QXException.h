/**
 * The exceptions of the library. All failures are reported by them.
 *
 * They are thrown by value and caught by reference. QXException is a root class, so a handler for std::exception does
 * not catch them. A plug-in that throws one links libstorestate.so, so that both sides use the same class.
 *
 * An exception belongs to the thread that handles it. If memory runs out while an exception is made or rendered, the
 * standard library's own exception is thrown instead.
 */
#ifndef SUPPORT_QXEXCEPTION_H
#define SUPPORT_QXEXCEPTION_H

#include "support/Export.h"

#include <cstdio>
#include <ostream>
#include <string>

/** Any failure. Base class of the more specific exceptions. */
class STORESTATE_EXPORT QXException {
public:
    /** "Unknown exception", error number 1. */
    QXException();

    /** "Unknown exception" with the given error number. */
    QXException(int errorNumber);

    /** A printf-style message, cut after 1023 characters; error number 1. */
    QXException(const char* format, ...) __attribute__((format(printf, 2, 3)));

    /** A printf-style message, cut after 1023 characters. Never pass text from outside as `format`; use "%s". */
    QXException(int errorNumber, const char* format, ...) __attribute__((format(printf, 3, 4)));

    /** A message of any length, taken literally. */
    QXException(int errorNumber, const std::string& message);

    QXException(const QXException&) = default;
    QXException& operator=(const QXException&) = default;
    virtual ~QXException();

    /** Replaces `out` with the rendering: the class, the error number in brackets, the message. */
    virtual void toString(std::string& out);

    /** The rendering in a new array, which the caller frees with delete[]. */
    char* toString();

    /** Writes the rendering and a line end, and flushes the stream. */
    void print(std::ostream& os);

    /** Writes the rendering and a line end. */
    void print(FILE* stream);

    // The same for references to const. They call the operations above, which do not change the exception. A const
    // member of a subclass that renders the exception calls render() instead, or it would call itself.
    void toString(std::string& out) const;
    char* toString() const;
    void print(std::ostream& os) const;
    void print(FILE* stream) const;

    std::string message; ///< what happened
    int errorNumber;     ///< errno of a failed system call, otherwise usually 1

protected:
    /** "<prefix>[<errorNumber>] <message>" */
    void render(std::string& out, const char* prefix) const;
};

/** A file operation failed; errorNumber is its errno. */
class STORESTATE_EXPORT QXIOException : public QXException {
public:
    QXIOException(int errorNumber, const std::string& message);
    QXIOException(const QXIOException&) = default;
    QXIOException& operator=(const QXIOException&) = default;
    ~QXIOException() override;

    using QXException::toString;
    void toString(std::string& out) override;
};

/** A time limit was exceeded. */
class STORESTATE_EXPORT QXTimeoutException : public QXException {
public:
    QXTimeoutException(int errorNumber, const std::string& message);
    QXTimeoutException(const QXTimeoutException&) = default;
    QXTimeoutException& operator=(const QXTimeoutException&) = default;
    ~QXTimeoutException() override;

    using QXException::toString;
    void toString(std::string& out) override;
};

/** An assertion failed. */
class STORESTATE_EXPORT QXAssertionException : public QXException {
public:
    /** The message is the assertion sentence, "ASSERT (<condition>) in <file> at line <line>." */
    QXAssertionException(const char* condition, long line, const char* file);

    /** The message is the printf-style detail. The rendering is the assertion sentence and then the message. */
    QXAssertionException(const char* condition, long line, const char* file, const char* format, ...)
        __attribute__((format(printf, 5, 6)));

    QXAssertionException(const QXAssertionException&) = default;
    QXAssertionException& operator=(const QXAssertionException&) = default;
    ~QXAssertionException() override;

    using QXException::toString;
    void toString(std::string& out) override;

    std::string condition; ///< text of the asserted condition
    std::string file;      ///< source file of the assertion
    long line;             ///< its line number
    bool hasDetail;        ///< `message` is the caller's detail, not the assertion sentence

private:
    std::string sentence() const;
};

#endif
