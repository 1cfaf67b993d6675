#pragma once

#include "sdk/qares.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <memory>

class QIODevice;

// Settings trees as XML files:
//
//   <resources version="1">
//     <group name="CRC">
//       <rgb name="background" r="255" g="255" b="255"/>
//       <boolean name="auto_raise" value="true"/>
//       <int name="auto_depth" value="4"/>
//       <string name="family" value="Sans Serif"/>
//     </group>
//   </resources>
//
// The root element stands for the root group, whose name is not stored. A string holding
// characters that XML cannot carry is stored as UTF-8 in base64 (encoding="base64").
// Reading and writing are iterative, so any depth is fine.
namespace QAResFile {

constexpr int version = 1;

// The tree below `root` as a settings document. Fails, with a message naming the resource, when a
// name holds characters that XML cannot carry.
QByteArray toXml(const QAResGroup& root, QString* error);
// Writes the tree to `path` atomically: the old file stays whole until the new one is complete.
// Creates missing directories. On failure returns false and sets `error` to "PATH: message".
bool write(const QAResGroup& root, const QString& path, QString* error);

// Reads a settings document; `fileName` is only used in error messages, which read
// "FILE:LINE: message". Returns null on any error.
std::unique_ptr<QAResGroup> fromXml(QIODevice* input, const QString& fileName, QString* error);
std::unique_ptr<QAResGroup> read(const QString& path, QString* error);

} // namespace QAResFile

// The settings of a host: one tree, kept in one file, and the producers whose groups make it up.
// A file that cannot be read leaves an empty tree (every producer keeps its defaults) and is left
// untouched until save() is called; save() then keeps a copy of it beside the new file, named
// with ".broken" appended, so that nothing the user had is lost.
class QAResStore
{
public:
    explicit QAResStore(const QString& path);

    const QString& path() const { return m_path; }
    QAResGroup* root() const { return m_root.get(); }

    // Reads the file. A missing file is not an error: the tree is then empty.
    bool load();
    // Why the last load() failed, as "FILE:LINE: message"; empty when it did not.
    const QString& loadError() const { return m_loadError; }

    // Producers are borrowed: remove one before destroying it.
    void addProducer(QAResProducer* producer);
    void removeProducer(QAResProducer* producer);

    // Asks every producer for its group, puts each in place of the root's first child of the same
    // name (dropping later children of that name) or appends it, and writes the file.
    bool save(QString* error);
    // What the producers would save now, as a settings document: equal documents, equal values.
    QByteArray producedValues() const;
    // The path of the copy of a broken file made by the last save(), or empty.
    const QString& brokenCopy() const { return m_brokenCopy; }

private:
    void replaceChild(std::unique_ptr<QARes> res);

    QString m_path;
    std::unique_ptr<QAResGroup> m_root;
    QList<QAResProducer*> m_producers;
    QString m_loadError;
    bool m_fileIsBroken = false;
    QString m_brokenCopy;
};
