#pragma once

#include "sdk/qastudiowindow.h"

#include <QString>

class QAIProgressMonitor;
class QAILogMonitor;

// The studio's record of the node a viewer shows: the workspace object and the dotted name of
// the node in it.
struct nodeData
{
    QString workspace;
    QString name;
};

// A viewer window of the studio. The studio asks it which of its generic commands it supports
// (the is…Enabled() answers), calls the commands, hands it files, and tells it when it becomes
// the active viewer and when it stops being it. The defaults support nothing and do nothing.
class QAStViewerWindow : public QAStudioWindow
{
    Q_OBJECT

public:
    // How the studio hands files over; Console also writes a summary to standard output.
    enum ViewerMode
    {
        Normal = 0,
        Console = 5
    };

    explicit QAStViewerWindow(QWidget* parent = nullptr, Qt::WindowFlags flags = {});

    virtual void setFile(const QString& file);
    virtual void setFiles(QStringList* files, QStringList* other, ViewerMode mode);
    virtual bool canClose();
    virtual QWidget* contentOutlineWidget() const;

    virtual bool isSaveEnabled() const;
    virtual bool isSaveAsEnabled() const;
    virtual bool isPrintEnabled() const;
    virtual bool isCopyEnabled() const;
    virtual bool isPasteEnabled() const;
    virtual bool isCutEnabled() const;
    virtual bool isUndoEnabled() const;
    virtual bool isRedoEnabled() const;
    virtual bool isDelEnabled() const;
    virtual bool isSelectAllEnabled() const;
    virtual bool isFindEnabled() const;
    virtual bool isReplaceEnabled() const;
    virtual bool isGoToEnabled() const;
    virtual bool isReloadEnabled() const;
    virtual bool isResetEnabled() const;
    virtual bool isExportDocEnabled() const;
    virtual bool isZoomEnabled() const;
    virtual bool isFilterEnabled() const;

    virtual QString macro(const QString& text);
    virtual bool exportHTML(const QString& directory, const QString& configFile,
                            QAIProgressMonitor* progress, QAILogMonitor* log);
    virtual void reset();
    virtual bool canReload() const;
    virtual void refreshContents();

    virtual void setMode(int mode);
    virtual void setNode(const nodeData& node);
    virtual void setChannel(const QString& channel);
    virtual void setRootName(const QString& name);
    virtual void setRootIcon(const QString& icon);
    virtual void setAutoReload(bool on);
    virtual void scrollToTag(const QString& tag, int line, int column);
    virtual void streamCharReceived(const char* text);

    int mode() const { return m_mode; }
    const nodeData& node() const { return m_node; }
    // Whether documents are put into the views (a viewer may load without showing).
    void setActivateDisplay(bool on) { m_activateDisplay = on; }
    bool isActivatedDisplay() const { return m_activateDisplay; }
    // Whether this is the studio's active viewer.
    bool isActiveViewer() const { return m_activeViewer; }

public Q_SLOTS:
    virtual void activated();
    virtual void desactivated();
    virtual void save();
    virtual void saveAs();
    virtual void print();
    virtual void copy();
    virtual void paste();
    virtual void cut();
    virtual void undo();
    virtual void redo();
    virtual void del();
    virtual void selectAll();
    virtual void find(const QString& text = QString());
    virtual void replace();
    virtual void goTo();
    virtual void zoomIn();
    virtual void zoomOut();
    virtual void zoom(int percent);
    virtual void mnFilter();
    virtual void reload();
    virtual void exportDoc();

Q_SIGNALS:
    // The studio found that `file` changed on disk.
    void reloadFile(const QString& file);

private:
    int m_mode = 0;
    nodeData m_node;
    QString m_channel;
    QString m_rootName;
    QString m_rootIcon;
    bool m_autoReload = false;
    bool m_activateDisplay = true;
    bool m_activeViewer = false;
};
