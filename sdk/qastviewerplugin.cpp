#include "sdk/qastviewerplugin.h"

QAStViewerPlugin::QAStViewerPlugin() = default;
QAStViewerPlugin::~QAStViewerPlugin() = default;

QUnknownInterface* QAStViewerPlugin::iface()
{
    return &m_component;
}

bool QAStViewerPlugin::Component::queryInterface(const QUuid& id, void** result)
{
    *result = id == IID_QAStViewerPlugin ? static_cast<void*>(m_plugin) : nullptr;
    if (*result)
        addRef();
    return *result != nullptr;
}

unsigned long QAStViewerPlugin::Component::addRef()
{
    return ++m_references;
}

unsigned long QAStViewerPlugin::Component::release()
{
    const unsigned long left = --m_references;
    if (left == 0)
        delete m_plugin;
    return left;
}
