#pragma once

#include <QColor>
#include <QPushButton>
#include <functional>

// A button that shows a colour and lets the user choose another one. An invalid colour shows as
// a crossed-out swatch.
class QAColorButton : public QPushButton
{
    Q_OBJECT

public:
    explicit QAColorButton(QWidget* parent = nullptr);

    const QColor& color() const { return m_color; }
    // Shows `color`; emits colorChanged() when `notify` is set and the colour differs.
    void setColor(const QColor& color, bool notify = true);

    // Asks the user for a colour starting from `initial`; an invalid answer means "cancelled".
    using Chooser = std::function<QColor(const QColor& initial, QWidget* parent)>;
    // Replaces the colour dialog for every button (tests and headless runs); an empty chooser
    // brings the dialog back.
    static void setChooser(Chooser chooser);

    QSize sizeHint() const override;

Q_SIGNALS:
    void colorChanged(const QColor& color);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void choose();

    QColor m_color;
};
