#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QHash>
#include <initializer_list>

// What identifies an imported result from one run of a tool to the next, kept in the result
// file as the "key" attribute of its node. A key starts with its kind ("fp", "pfp", "hash",
// "junit") and a colon, or a '#' where its content was too long and is given by its hash, so
// that keys of different kinds never equal.
class ResultKeys
{
public:
    // Content above this many bytes is given by its hash.
    static constexpr qsizetype MaxContent = 200;

    // `kind` and `content` as a key.
    static QByteArray make(const char* kind, QByteArrayView content);
    // A key of `kind` made of the hash of `parts`, each ended by a NUL byte.
    static QByteArray hashed(const char* kind, std::initializer_list<QByteArrayView> parts);

    // Whitespace left out: what is left of code that was only indented or wrapped otherwise.
    static QByteArray withoutSpace(QByteArrayView text);
    // Whitespace and the numbers of lines and columns left out ("line 12", "col 5", ":12:5"),
    // so that a message that only moved with its finding stays the same.
    static QByteArray withoutPlaces(QByteArrayView text);

    // `key`, or when an earlier result had it, `key#N` with the first N from 2 that no earlier
    // result had: the later of two equal results stay told apart, in the order they came.
    QByteArray unique(const QByteArray& key);

private:
    // The keys given are known by a 64-bit digest, not kept: a report of a million tests is
    // converted as it is read. Two keys of one digest (by chance, about once in 10^7 runs of a
    // million results) give the later a number it did not need; keys stay unique.
    QHash<quint64, int> m_next; // each key given, and the occurrence to try next after it
};
