/** An owned, NUL-terminated text. It belongs to one thread at a time. */
#ifndef DB_STRINGBUFFER_H
#define DB_STRINGBUFFER_H

class StringBuffer {
public:
    /** The empty text. */
    StringBuffer();
    StringBuffer(const StringBuffer&) = delete;
    StringBuffer& operator=(const StringBuffer&) = delete;
    ~StringBuffer();

    /** Replaces the text by a copy of `s`; null changes nothing. */
    StringBuffer& set(const char* s);

    /** Appends `s`; null and the empty text change nothing. */
    StringBuffer& append(const char* s);

    /** Appends the other's text and deletes the other, which must come from `new`; null changes nothing. */
    StringBuffer& append(StringBuffer* other);

    /** Replaces every `from` by `to`. NUL is never replaced. */
    StringBuffer& replace(char from, char to);

    /** Removes the last `n` characters, or nothing if there are fewer; returns the text. */
    const char* truncate(unsigned int n);

    char* text; ///< never null; allocated with new[], owned by the buffer

private:
    void assign(const char* head, const char* tail);
};

#endif
