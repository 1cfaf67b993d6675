#pragma once

#include "sdk/qastviewerplugin.h"

// The code review viewer as a studio plug-in: it opens "*.crc" files in viewer windows.
// It keeps no state of its own; what all windows share lives with the viewer window class.
class QAStCRCPlugin : public QAStViewerPlugin
{
    Q_OBJECT

public:
    QString name() const override;
    QString description() const override;
    QString author() const override;
    QString version() const override;
    void initialize(QUnknownInterface* iface, QARes* resources) override;
    QStringList accept() override;
    QStringList filters() override;
    QAStViewerWindow* create(QStringList& files, QWidget* parent, const char* name) override;
    QAStViewerWindow* create(QStringList& files, bool activate, QWidget* parent,
                             const char* name) override;
    bool exportHTML(const QString& file, const QString& directory, QAIProgressMonitor* progress,
                    QAILogMonitor* log) override;
    QAStViewerWindow* openedWindow(const QString& file) override;
    bool connectAccepted(QObject* sender, const char* signal) override;
    bool connectRejected(QObject* sender, const char* signal) override;
    PreferenceItem* preferenceSettings() override;
    QString pluginName() override;
    QString pluginIcon() override;
    QString pluginDescription() override;
    QString pluginCompanyName() override;
    QString pluginCompanyIcon() override;
    QString pluginCompanyDescription() override;
    QString pluginCopyRight() override;
    QString pluginVersion() override;
    QDate pluginCreation() override;
    QList<QToolBar*> toolbars() override;
};
