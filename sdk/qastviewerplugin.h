#pragma once

#include "sdk/qunknowninterface.h"

#include <QDate>
#include <QList>
#include <QObject>
#include <QStringList>
#include <atomic>

class PreferenceItem;
class QAILogMonitor;
class QAIProgressMonitor;
class QARes;
class QAStViewerWindow;
class QToolBar;
class QWidget;

// A viewer plug-in as the studio sees it: names, file patterns, one-time set-up, and the
// factory of viewer windows. The studio reaches it through its component interface (iface()),
// which answers IID_QAStViewerPlugin; the last release() destroys the plug-in.
class QAStViewerPlugin : public QObject
{
    Q_OBJECT

public:
    QAStViewerPlugin();
    ~QAStViewerPlugin() override;

    QUnknownInterface* iface();

    virtual QString name() const = 0;
    virtual QString description() const = 0;
    virtual QString author() const = 0;
    virtual QString version() const = 0;
    virtual void initialize(QUnknownInterface* iface, QARes* resources) = 0;
    // File patterns ("*.crc") and file dialog filters ("Code Review (*.crc)").
    virtual QStringList accept() = 0;
    virtual QStringList filters() = 0;
    virtual QAStViewerWindow* create(QStringList& files, QWidget* parent, const char* name) = 0;
    virtual QAStViewerWindow* create(QStringList& files, bool activate, QWidget* parent,
                                     const char* name) = 0;
    virtual bool exportHTML(const QString& file, const QString& directory,
                            QAIProgressMonitor* progress, QAILogMonitor* log) = 0;
    // The open window that shows `file`, or null.
    virtual QAStViewerWindow* openedWindow(const QString& file) = 0;
    // Hooks the studio's preferences dialog to the plug-in's settings.
    virtual bool connectAccepted(QObject* sender, const char* signal) = 0;
    virtual bool connectRejected(QObject* sender, const char* signal) = 0;
    virtual PreferenceItem* preferenceSettings() = 0;
    virtual QString pluginName() = 0;
    virtual QString pluginIcon() = 0;
    virtual QString pluginDescription() = 0;
    virtual QString pluginCompanyName() = 0;
    virtual QString pluginCompanyIcon() = 0;
    virtual QString pluginCompanyDescription() = 0;
    virtual QString pluginCopyRight() = 0;
    virtual QString pluginVersion() = 0;
    virtual QDate pluginCreation() = 0;
    virtual QList<QToolBar*> toolbars() = 0;

private:
    class Component : public QUnknownInterface
    {
    public:
        explicit Component(QAStViewerPlugin* plugin) : m_plugin(plugin) {}
        bool queryInterface(const QUuid& id, void** result) override;
        unsigned long addRef() override;
        unsigned long release() override;

    private:
        QAStViewerPlugin* m_plugin;
        std::atomic<unsigned long> m_references{1};
    };
    Component m_component{this};
};
