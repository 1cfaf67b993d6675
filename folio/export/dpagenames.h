#pragma once

#include <QHash>
#include <QSet>
#include <QString>

// The file names of one export: pages and copied pictures share them. Each thing written (a key
// chosen by the caller) gets one name for the whole export, asked for by the page that links to
// it as well as by the writer of the page itself. Names are unique (ignoring case, for the file
// systems that do), at most 255 bytes long, free of path separators, and never one of the names
// reserved for files the export must not replace.
class DPageNames
{
public:
    // The name of `key`, chosen on its first use from `wanted` + `suffix`; when that is taken,
    // a number is put before the suffix ("r-2.html").
    QString nameFor(const QString& key, const QString& wanted, const QString& suffix);
    // The name given to `key`, or an empty string.
    QString nameOf(const QString& key) const { return m_names.value(key); }
    // A name no key may get: a file the export did not write.
    void reserve(const QString& name) { m_taken.insert(name.toCaseFolded()); }
    bool isTaken(const QString& name) const { return m_taken.contains(name.toCaseFolded()); }

    static constexpr int maxNameBytes = 255;

private:
    QHash<QString, QString> m_names;
    QSet<QString> m_taken;
    // For each base name (case folded), the number to try next, so that many things wanting one
    // name are numbered in linear time.
    QHash<QString, int> m_nextNumber;
};
