#pragma once

#include "sdk/qaoutputwindow.h"
#include "sdk/studiointerface.h"

#include <QList>
#include <QMenu>
#include <QString>
#include <QStringList>

// A studio for tests: every service records what it was asked and does nothing else.
class TestStudio : public StudioInterface, public QAOutputWindow
{
public:
    QWidget* mainWindow() const override { return window; }
    QAOutputWindow* outputWindow() const override { return const_cast<TestStudio*>(this); }
    void appendOutput(const QString& text) override { output.append(text); }
    void activateOutput() override { ++outputActivations; }
    QStringList documentSearchPath() const override { return searchPath; }
    QString currentDirectory() const override { return directory; }
    QString installDirectory() const override { return directory; }
    QString caption() const override { return QStringLiteral("teststudio"); }
    int insertMenu(QMenu* menu, const QString& title) override
    {
        menus.append({menu, title});
        return menus.size() - 1;
    }
    void removeMenu(int id) override { removedMenus.append(id); }
    void addResProducer(QAResProducer* producer) override { producers.append(producer); }
    QAILogMonitor* logMonitor() const override { return nullptr; }
    void startProgress(int steps, const QString& label, const QString& cancelText) override
    {
        progressCalls.append(QStringLiteral("start %1 %2 %3").arg(steps).arg(label, cancelText));
    }
    void setProgress(int step) override { progressSteps.append(step); }
    void endProgress() override { progressCalls.append(QStringLiteral("end")); }
    // The user cancels once `cancelAfterSteps` steps were reported; never when negative.
    bool progressCancelled() const override
    {
        return cancelAfterSteps >= 0 && progressSteps.size() >= cancelAfterSteps;
    }
    void openLocation(const QString& location, int kind, bool activate) override
    {
        locations.append(QStringLiteral("%1 %2 %3").arg(location).arg(kind).arg(activate));
    }
    TrackwellInterface* trackwellInterface() const override { return tracker; }

    QWidget* window = nullptr;
    QString directory;
    QStringList searchPath;
    QStringList output;
    int outputActivations = 0;
    QList<QPair<QMenu*, QString>> menus;
    QList<int> removedMenus;
    QList<QAResProducer*> producers;
    QStringList progressCalls;
    QList<int> progressSteps;
    int cancelAfterSteps = -1;
    QStringList locations;
    TrackwellInterface* tracker = nullptr;
};
