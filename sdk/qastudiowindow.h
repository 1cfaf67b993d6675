#pragma once

#include <QMainWindow>

// A window of the studio: a main window the studio places among its own.
class QAStudioWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit QAStudioWindow(QWidget* parent = nullptr, Qt::WindowFlags flags = {});

Q_SIGNALS:
    // What the studio shows of the window (its commands, its way back) may have changed.
    void stateChanged();
    // The window's caption or the files it shows changed.
    void captionChanged(QAStudioWindow* window);
};
