#pragma once

#include "sdk/qaoutputwindow.h"
#include "sdk/studiointerface.h"

#include <QList>
#include <QStringList>

class QAResProducer;

// The studio crcview stands in for: no main window, no menus; the output window is standard
// error, and the installation is the directory above the executable's.
class HeadlessStudio : public StudioInterface, public QAOutputWindow
{
public:
    QWidget* mainWindow() const override { return nullptr; }
    QAOutputWindow* outputWindow() const override;
    void appendOutput(const QString& text) override;
    void activateOutput() override {}
    QStringList documentSearchPath() const override;
    QString currentDirectory() const override;
    QString installDirectory() const override;
    QString caption() const override;
    int insertMenu(QMenu*, const QString&) override { return -1; }
    void removeMenu(int) override {}
    void addResProducer(QAResProducer*) override {}
    QAILogMonitor* logMonitor() const override { return nullptr; }
    void startProgress(int, const QString&, const QString&) override {}
    void setProgress(int) override {}
    void endProgress() override {}
    void openLocation(const QString&, int, bool) override {}
    TrackwellInterface* trackwellInterface() const override { return nullptr; }
    QString originalFileOf(const QString& path) const override;
};
