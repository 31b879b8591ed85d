/**
 * The exceptions through which every failure of the library travels.
 *
 * They are thrown by value and caught by reference. QXException is a root class: a handler for std::exception sees
 * none of them. A plug-in that throws one links libstorestate.so, so that both sides mean the same class.
 *
 * An exception belongs to the thread that handles it. Running out of memory while one is made or rendered is reported
 * by the standard library's own exception.
 */
#ifndef SUPPORT_QXEXCEPTION_H
#define SUPPORT_QXEXCEPTION_H

#include "support/Export.h"

#include <cstdio>
#include <ostream>
#include <string>

/** Any failure; also the base of the more precise ones. */
class STORESTATE_EXPORT QXException {
public:
    /** "Unknown exception", error number 1. */
    QXException();

    /** "Unknown exception" with the given error number. */
    QXException(int errorNumber);

    /** A printf-style message of at most 1023 characters (longer ones are cut), error number 1. */
    QXException(const char* format, ...) __attribute__((format(printf, 2, 3)));

    /** A printf-style message of at most 1023 characters (longer ones are cut). Text of others goes through "%s". */
    QXException(int errorNumber, const char* format, ...) __attribute__((format(printf, 3, 4)));

    /** A message that is taken whole. */
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

    // The same for whoever holds a reference to const: they call those above, of which a rendering changes nothing. So
    // a const member of a subclass that renders itself calls render(), not these.
    void toString(std::string& out) const;
    char* toString() const;
    void print(std::ostream& os) const;
    void print(FILE* stream) const;

    std::string message; ///< what happened
    int errorNumber;     ///< errno of a failed system call, otherwise what the thrower chose (1 as a rule)

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

/** Something did not happen in the time allowed for it. */
class STORESTATE_EXPORT QXTimeoutException : public QXException {
public:
    QXTimeoutException(int errorNumber, const std::string& message);
    QXTimeoutException(const QXTimeoutException&) = default;
    QXTimeoutException& operator=(const QXTimeoutException&) = default;
    ~QXTimeoutException() override;

    using QXException::toString;
    void toString(std::string& out) override;
};

/** A condition that the program relies on did not hold. */
class STORESTATE_EXPORT QXAssertionException : public QXException {
public:
    /** The message is the assertion sentence, "ASSERT (<condition>) in <file> at line <line>." */
    QXAssertionException(const char* condition, long line, const char* file);

    /** The message is the printf-style detail; the rendering puts the assertion sentence in front of it. */
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
    bool hasDetail;        ///< whether `message` is the caller's detail rather than the assertion sentence

private:
    std::string sentence() const;
};

#endif
