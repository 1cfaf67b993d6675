#pragma once

#include <QMainWindow>

// A window of the studio: a main window the studio places among its own.
class QAStudioWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit QAStudioWindow(QWidget* parent = nullptr, Qt::WindowFlags flags = {});
};
