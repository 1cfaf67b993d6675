#pragma once

#include <QString>
#include <memory>

class QAStViewerPlugin;
class QUnknownInterface;

// A viewer plug-in library, loaded from disk and checked against this studio's toolkit build.
// The plug-in object lives as long as this does; the library itself stays loaded until the
// process ends, since windows and objects it made may outlive the plug-in object.
class PluginLibrary
{
public:
    // Loads the library at `path`, checks its verification text and instantiates its plug-in.
    // Null on failure, with `error` naming the library and what was wrong with it.
    static std::unique_ptr<PluginLibrary> load(const QString& path, QString* error);
    ~PluginLibrary();

    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;

    const QString& path() const { return m_path; }
    QAStViewerPlugin* plugin() const { return m_plugin; }

private:
    PluginLibrary(const QString& path, QUnknownInterface* component, QAStViewerPlugin* plugin);

    QString m_path;
    QUnknownInterface* m_component; // one reference of ours, given back by the destructor
    QAStViewerPlugin* m_plugin;     // owned by the component
};
