#pragma once

#include <QPlainTextEdit>
#include <memory>

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
    // Highlights line `line` (from 1) and scrolls it into view; lines past the end go to the last.
    void showLine(int line);
    // The width of the margin on the left that numbers the lines.
    int lineNumberWidth() const;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    friend class LineNumberMargin;
    explicit SourceView(const QString& path);
    void paintLineNumbers(QPaintEvent* event);

    QString m_path;
    int m_line = 0;
    QWidget* m_lineNumbers;
};
