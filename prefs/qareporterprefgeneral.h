#pragma once

#include "sdk/preferenceitem.h"

#include <QColor>
#include <QPointer>

class QAColorButton;
class QCheckBox;
class QSpinBox;
class StudioInterface;

// The general page of the viewer's preferences: the document view's background colour, whether a
// move from the outline raises the document view, and how deep the outline opens. The values
// live here; consumers read them directly.
class QAReporterPrefGeneral : public PreferenceItem
{
    Q_OBJECT

public:
    // `studio` (borrowed, may be null) tells whether raising makes sense: only with a main window.
    QAReporterPrefGeneral(const QString& title, const QString& tag, const QString& helpTag,
                          StudioInterface* studio = nullptr);
    ~QAReporterPrefGeneral() override;

    QWidget* createWidget(QWidget* parent) override;
    void updateContents() override;
    void apply() override;
    void cancel() override;
    void defaults() override;

    // The lowest and highest depth the page offers.
    static constexpr int minDepth = 1;
    static constexpr int maxDepth = 6;

    QColor background;
    // The page's widgets, owned by the dialog that shows the page; null when it is not shown.
    QPointer<QAColorButton> colorButton;
    bool autoRaise = true;
    QPointer<QCheckBox> raiseCheck;
    QPointer<QSpinBox> depthSpin;
    int autoDepth = 4;

private:
    StudioInterface* m_studio;
};
