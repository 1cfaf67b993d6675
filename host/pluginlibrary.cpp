#include "host/pluginlibrary.h"

#include "sdk/qastviewerplugin.h"
#include "sdk/qaucmverification.h"
#include "sdk/qunknowninterface.h"

#include <QDir>
#include <QLibrary>

namespace {

using Verification = const char* (*)();
using Instantiate = QUnknownInterface* (*)();

} // namespace

std::unique_ptr<PluginLibrary> PluginLibrary::load(const QString& path, QString* error)
{
    const QString name = QDir::toNativeSeparators(path);
    QLibrary library(path);
    if (!library.load()) {
        *error = QObject::tr("Cannot load the plug-in %1: %2").arg(name, library.errorString());
        return nullptr;
    }
    auto verification =
        reinterpret_cast<Verification>(library.resolve("qt_ucm_query_verification_data"));
    if (!verification) {
        library.unload();
        *error =
            QObject::tr("%1 is not a viewer plug-in: it carries no verification text").arg(name);
        return nullptr;
    }
    QString problem;
    if (!QAUcmVerification::accepts(verification(), &problem)) {
        library.unload();
        *error = QObject::tr("%1 was built for another toolkit build: %2").arg(name, problem);
        return nullptr;
    }
    auto instantiate = reinterpret_cast<Instantiate>(library.resolve("ucm_instantiate"));
    QUnknownInterface* component = instantiate ? instantiate() : nullptr;
    if (!component) {
        library.unload();
        *error = QObject::tr("%1 is not a viewer plug-in: it makes no component").arg(name);
        return nullptr;
    }
    QAStViewerPlugin* plugin = nullptr;
    if (!component->queryInterface(IID_QAStViewerPlugin, reinterpret_cast<void**>(&plugin)) ||
        !plugin) {
        component->release();
        *error =
            QObject::tr("%1 is not a viewer plug-in: its component answers no viewer").arg(name);
        return nullptr;
    }
    // The query took a reference of its own: one is enough to keep the plug-in.
    component->release();
    return std::unique_ptr<PluginLibrary>(new PluginLibrary(path, component, plugin));
}

PluginLibrary::PluginLibrary(const QString& path, QUnknownInterface* component,
                             QAStViewerPlugin* plugin)
    : m_path(path), m_component(component), m_plugin(plugin)
{
}

PluginLibrary::~PluginLibrary()
{
    m_component->release();
}
