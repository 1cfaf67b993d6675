#pragma once

#include "sdk/sourcerequest.h"

#include <QPlainTextEdit>
#include <QPointer>
#include <memory>

class QLabel;

// A source file shown read-only, with one line highlighted.
class SourceView : public QPlainTextEdit
{
    Q_OBJECT

public:
    // The most a source file may hold to be shown.
    static constexpr qint64 maxSize = 64 * 1024 * 1024;

    // The file at `path`, or null with `error` saying why it cannot be shown (not a regular
    // file, larger than maxSize, unreadable).
    static std::unique_ptr<SourceView> open(const QString& path, QString* error);

    const QString& path() const { return m_path; }
    // The tab whose link showed the file last: Back returns to it. Null when it is gone.
    QWidget* cameFrom() const { return m_cameFrom; }
    void setCameFrom(QWidget* page) { m_cameFrom = page; }
    // Hands the file to the desktop's editor for it; false with `error` when it is no longer a
    // regular file or no editor takes it.
    bool openInEditor(QString* error) const;
    // Highlights the place of `request` and scrolls it into view: its line (from 1; lines past
    // the end go to the last) and those after it that its last line or its snippet cover, the
    // snippet's lines where they read as the file's. Its message, when it has one, shows beside
    // the first line.
    void showPlace(const SourceRequest& request);
    // The place shown last, with its code flow.
    const SourceRequest& place() const { return m_place; }
    // The place of the step `by` steps after the one shown (before it when negative); false when
    // there is none.
    bool stepPlace(int by, SourceRequest* step) const;
    // The width of the margin on the left that numbers the lines.
    int lineNumberWidth() const;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    friend class LineNumberMargin;
    explicit SourceView(const QString& path);
    void paintLineNumbers(QPaintEvent* event);
    // Puts the message beside the first line of the place, where it is drawn now.
    void placeMessage();

    QString m_path;
    QPointer<QWidget> m_cameFrom;
    int m_line = 0;
    QWidget* m_lineNumbers;
    QLabel* m_message;
    SourceRequest m_place;
};
