#pragma once

#include "folio/model/diterator.h"

#include <QByteArray>
#include <QHash>
#include <QSet>
#include <QString>
#include <functional>
#include <vector>

class DStyle;
class QAIProgressMonitor;

// Writes a document as the body of an HTML5 page. Every text and attribute value is escaped, and
// the only link targets written are in-page anchors, other pages of the export, relative paths
// and file: URLs.
class DHTMLWriter : public DIterator
{
public:
    DHTMLWriter();
    ~DHTMLWriter() override;

    // Ending of page file names: a document tagged T is the page T + pageSuffix().
    const QString& pageSuffix() const { return m_pageSuffix; }
    void setPageSuffix(const QString& suffix) { m_pageSuffix = suffix; }
    // The file name of the page of a document tagged `tag`: characters that could lead outside
    // the output directory, or that file systems refuse, are replaced; an empty tag gives
    // "untitled".
    QString pageName(const QString& tag) const;
    // `name` with those characters replaced; an empty name stays empty.
    static QString safeFileName(const QString& name);

    // Gives the file name under which the picture `source` is found beside the page, or an
    // empty string when it cannot be found.
    using ImageResolver = std::function<QString(const QString& source)>;
    void setImageResolver(ImageResolver resolver) { m_imageResolver = std::move(resolver); }

    // Takes the body written so far, so that a huge page never sits whole in memory; it may
    // change the bytes it is given. False stops the writing.
    using BodySink = std::function<bool(QByteArray& chunk)>;

    // Appends the body content of `document` to `out`. `progress` hears how far the writing got
    // and is asked every 1000 items whether to stop; false when stopped that way. With a sink,
    // the body goes to it whenever spillSize() bytes have gathered, and `out` receives the rest;
    // false too when the sink refused a part (sinkFailed()).
    bool writeBody(DDocument* document, QByteArray* out, QAIProgressMonitor* progress,
                   const BodySink& sink = BodySink());
    bool sinkFailed() const { return m_sinkFailed; }
    qsizetype spillSize() const { return m_spillSize; }
    void setSpillSize(qsizetype bytes) { m_spillSize = bytes; }
    // The styles the last writeBody() met, in order of first use, with their class names. A
    // class is made of the style's name, unique within one page.
    const QList<std::pair<const DStyle*, QString>>& styleClasses() const { return m_classList; }
    // The style sheet rules of styles and their class names.
    static QString cssRules(const QList<std::pair<const DStyle*, QString>>& classes);

    // Text and attribute values, escaped for HTML.
    static void appendEscaped(QByteArray& out, const QString& text);

    void doItem(DItem* item) override;
    void doDocument(DItem* item) override;
    void doSection(DItem* item) override;
    void doTitle(DItem* item) override;
    void doHeader(DItem* item) override;
    void doFooter(DItem* item) override;
    void doPageBreak(DItem* item) override;
    void doParagraph(DItem* item) override;
    void doText(DItem* item) override;
    void doImage(DItem* item) override;
    void doList(DItem* item) override;
    void doLink(DItem* item) override;
    void doTag(DItem* item) override;
    void doTable(DItem* item) override;
    void doRow(DItem* item) override;
    void doCell(DItem* item) override;
    void doCellText(DItem* item) override;
    void doTagPointer(DItem* item) override;
    void doPopupLink(DItem* item) override;
    void doPopup(DItem* item) override;
    void doSummary(DItem* item) override;
    void doSEntry(DItem* item) override;
    void doIndex(DItem* item) override;
    void doIEntry(DItem* item) override;
    void doGraphic(DItem* item) override;
    void doAxis(DItem* item) override;
    void doCurve(DItem* item) override;
    void doPoint(DItem* item) override;

protected:
    // Raw markup to the current page, as it is.
    void writeRaw(const char* markup);
    // Text to the current page, escaped.
    void writeText(const QString& text);
    // Walks the children of `container`, then writes `closing` raw: the way to write what
    // follows a container's content, since the walk of the children happens after the caller
    // returns.
    void writeChildren(DItem* container, const QByteArray& closing);
    // The href of a tag link: "#TAG", or the page of the document named in it.
    QByteArray tagHref(const QString& target) const;

    void doneChildren(DItemContainer* container) override;

private:
    void open(const char* element, DItem* item, const QString& id = QString(),
              const char* extraClass = nullptr);
    void appendClass(const DStyle* style, const char* extraClass);
    const QByteArray& classOf(const DStyle* style);

    QString m_pageSuffix = QStringLiteral(".html");
    ImageResolver m_imageResolver;
    QHash<const DStyle*, QByteArray> m_classes;
    QList<std::pair<const DStyle*, QString>> m_classList;
    QSet<QString> m_classNames;
    const DStyle* m_lastStyle = nullptr;
    QByteArray m_lastClass;
    QAIProgressMonitor* m_progress = nullptr;
    const DDocument* m_document = nullptr;
    int m_topItems = 0; // children of the document, and how many were begun
    int m_topDone = 0;
    QByteArray m_out;
    std::vector<QByteArray> m_closings; // what ends each container being walked
    int m_sectionDepth = 0;
    qint64 m_items = 0;
    bool m_canceled = false;
    const BodySink* m_sink = nullptr;
    qsizetype m_spillSize = 4 << 20;
    bool m_sinkFailed = false;
};
