#pragma once

#include "folio/model/dstringpool.h"
#include "folio/reader/damlhandler.h"
#include "folio/reader/drawkeymap.h"

#include <QStringList>
#include <memory>
#include <vector>

class QAReporterDataTree;
class QAReporterNode;
class ReadProgress;
template <class T> class QTree;

// Reads the result elements woven into a document: "XROD" opens a result tree, each
// "XROD:NODE" adds one node to it. Everything else goes to the document. A node's section
// begins with the first document item opened after its start tag and ends with the last item
// linked at that level when its end tag is read.
class QAstXmlRodHandler : public DAmlHandler
{
public:
    enum ElementType
    {
        XrodElement = 1100,
        NodeElement = 1101,
        DocumentElement = 1102
    };

    QAstXmlRodHandler();
    ~QAstXmlRodHandler() override;

    bool startDocument() override;
    bool startElement(const QString& qName, const DAmlAttributes& attributes) override;
    bool endElement(const QString& qName) override;

    static ElementType findType(const QString& qName);
    // Fills `node` from the attributes of its element and counts its results. On failure the
    // assignments made before the missing attribute stay done.
    bool setAttributes(QAReporterNode* node, const DAmlAttributes& attributes);

    // Report progress to `progress` while reading; null reads without progress.
    void setProgress(ReadProgress* progress) { m_progress = progress; }

    // Progress of the current reading, shared by all readers of the process: one step per start
    // tag, out of an estimate of one step per 50 bytes of the file.
    static int progressStep;
    static int progressSteps;

    // Whether the reading stopped because the user cancelled it.
    bool cancelled() const { return m_cancelled; }
    void setCancelled();

    QAReporterDataTree* dataTree() const { return m_dataTree.get(); }
    std::unique_ptr<QAReporterDataTree> takeDataTree();
    QTree<QString>* typeTree() const { return m_typeTree.get(); }
    std::unique_ptr<QTree<QString>> takeTypeTree();
    const QStringList& typeList() const { return m_types; }
    int passed() const;
    int failed() const;
    int inconclusive() const;

private:
    // Shows the progress; false when the user cancelled the reading.
    bool reportProgress();
    bool startResultTree();
    bool startNode(const DAmlAttributes& attributes);
    bool endNode();

    ReadProgress* m_progress = nullptr;
    // Nodes still waiting for the first item of their section; not owned.
    std::vector<QAReporterNode*> m_pending;
    std::unique_ptr<QAReporterDataTree> m_dataTree;
    // Trees replaced by a later "XROD"; kept until the handler goes, since pending nodes may
    // belong to them.
    std::vector<std::unique_ptr<QAReporterDataTree>> m_replacedTrees;
    std::unique_ptr<QTree<QString>> m_typeTree;
    QStringList m_types;
    DRawKeyMap<DString> m_typeNames;
    // Names, types and states repeat across nodes: each distinct text is stored once.
    DStringPool<DString> m_texts;
    int m_nodeCounter = 0;
    int m_tagsSinceCancelCheck = 0;
    bool m_cancelled = false;
    qint64 m_passed = 0;
    qint64 m_failed = 0;
    qint64 m_inconclusive = -1;
};
