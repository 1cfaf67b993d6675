#pragma once

#include <QWidget>

class QARListView;
class QLineEdit;
class QTimer;

// What the studio shows in its outline area for one viewer window: a filter box above the
// outline. Typing filters after a short pause, Return at once; Down goes on into the outline.
class OutlinePane : public QWidget
{
    Q_OBJECT

public:
    // `outline` becomes a child of the pane.
    explicit OutlinePane(QARListView* outline, QWidget* parent = nullptr);

    QLineEdit* filterBox() const { return m_filter; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void applyFilter();

    QARListView* m_outline;
    QLineEdit* m_filter;
    QTimer* m_pause;
};
