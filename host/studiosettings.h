#pragma once

#include "sdk/qaresfile.h"

#include <QByteArray>
#include <QString>

class QAOutputWindow;
class QMainWindow;
class QWidget;
class RecentFiles;
class SourceRoots;

// The studio's settings file and the studio's own group in it: the window's size and dock
// layout, the last directory, the recent files and the source roots. A file that cannot be read
// leaves the defaults in force and is kept until the user saves settings from the preferences.
class StudioSettings : public QAResProducer
{
public:
    StudioSettings(const QString& path, QMainWindow* window, RecentFiles* recent,
                   SourceRoots* roots, QAOutputWindow* output);
    ~StudioSettings() override;

    QAResStore* store() { return &m_store; }

    // Reads the file, then the studio's group; says in the output window when it cannot.
    void load();
    // Size, place and dock layout as the user left them, once the plug-in's toolbar exists.
    void restoreLayout();
    // Writes the file; false with `error` on failure. The copy kept of a file that could not be
    // read is named in the output window.
    bool save(QString* error);
    // Writes the file on quitting, unless it could not be read; says why over `parent` when it
    // cannot be written.
    void saveOnQuit(QWidget* parent);
    // Writes the file after a change of the studio's own settings, unless it could not be read.
    void saveChange();

    // Where the user opened files last; the current folder at first.
    const QString& lastDirectory() const { return m_lastDirectory; }
    void setLastDirectory(const QString& directory) { m_lastDirectory = directory; }
    // The file type the Open dialog showed last; empty at first.
    const QString& openFilter() const { return m_openFilter; }
    void setOpenFilter(const QString& filter) { m_openFilter = filter; }

    std::unique_ptr<QARes> toResources(const char* name) override;

private:
    QAResStore m_store;
    bool m_broken = false; // the file could not be read and has not been replaced
    QMainWindow* m_window;
    RecentFiles* m_recent;
    SourceRoots* m_roots;
    QAOutputWindow* m_output;
    QString m_lastDirectory;
    QString m_openFilter;
    QByteArray m_savedGeometry;
    QByteArray m_savedState;
};
