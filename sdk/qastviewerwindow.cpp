#include "sdk/qastviewerwindow.h"

#include <QStringList>

QAStudioWindow::QAStudioWindow(QWidget* parent, Qt::WindowFlags flags) : QMainWindow(parent, flags)
{
}

QAStViewerWindow::QAStViewerWindow(QWidget* parent, Qt::WindowFlags flags)
    : QAStudioWindow(parent, flags)
{
}

void QAStViewerWindow::setFile(const QString& file)
{
    QStringList files{file};
    setFiles(&files, nullptr, Normal);
}

void QAStViewerWindow::setFiles(QStringList*, QStringList*, ViewerMode mode)
{
    m_mode = mode;
}

bool QAStViewerWindow::canClose()
{
    return true;
}

QWidget* QAStViewerWindow::contentOutlineWidget() const
{
    return nullptr;
}

bool QAStViewerWindow::isSaveEnabled() const
{
    return false;
}
bool QAStViewerWindow::isSaveAsEnabled() const
{
    return false;
}
bool QAStViewerWindow::isPrintEnabled() const
{
    return false;
}
bool QAStViewerWindow::isCopyEnabled() const
{
    return false;
}
bool QAStViewerWindow::isPasteEnabled() const
{
    return false;
}
bool QAStViewerWindow::isCutEnabled() const
{
    return false;
}
bool QAStViewerWindow::isUndoEnabled() const
{
    return false;
}
bool QAStViewerWindow::isRedoEnabled() const
{
    return false;
}
bool QAStViewerWindow::isDelEnabled() const
{
    return false;
}
bool QAStViewerWindow::isSelectAllEnabled() const
{
    return false;
}
bool QAStViewerWindow::isFindEnabled() const
{
    return false;
}
bool QAStViewerWindow::isReplaceEnabled() const
{
    return false;
}
bool QAStViewerWindow::isGoToEnabled() const
{
    return false;
}
bool QAStViewerWindow::isReloadEnabled() const
{
    return false;
}
bool QAStViewerWindow::isResetEnabled() const
{
    return false;
}
bool QAStViewerWindow::isExportDocEnabled() const
{
    return false;
}
bool QAStViewerWindow::isZoomEnabled() const
{
    return false;
}
bool QAStViewerWindow::isFilterEnabled() const
{
    return false;
}

QString QAStViewerWindow::macro(const QString& text)
{
    return text;
}

bool QAStViewerWindow::exportHTML(const QString&, const QString&, QAIProgressMonitor*,
                                  QAILogMonitor*)
{
    return false;
}

void QAStViewerWindow::reset() {}

bool QAStViewerWindow::canReload() const
{
    return false;
}

void QAStViewerWindow::refreshContents() {}
void QAStViewerWindow::setMode(int mode)
{
    m_mode = mode;
}
void QAStViewerWindow::setNode(const nodeData& node)
{
    m_node = node;
}
void QAStViewerWindow::setChannel(const QString& channel)
{
    m_channel = channel;
}
void QAStViewerWindow::setRootName(const QString& name)
{
    m_rootName = name;
}
void QAStViewerWindow::setRootIcon(const QString& icon)
{
    m_rootIcon = icon;
}
void QAStViewerWindow::setAutoReload(bool on)
{
    m_autoReload = on;
}
void QAStViewerWindow::scrollToTag(const QString&, int, int) {}
void QAStViewerWindow::streamCharReceived(const char*) {}

void QAStViewerWindow::activated()
{
    m_activeViewer = true;
}

void QAStViewerWindow::desactivated()
{
    m_activeViewer = false;
}

void QAStViewerWindow::save() {}
void QAStViewerWindow::saveAs() {}
void QAStViewerWindow::print() {}
void QAStViewerWindow::copy() {}
void QAStViewerWindow::paste() {}
void QAStViewerWindow::cut() {}
void QAStViewerWindow::undo() {}
void QAStViewerWindow::redo() {}
void QAStViewerWindow::del() {}
void QAStViewerWindow::selectAll() {}
void QAStViewerWindow::find(const QString&) {}
void QAStViewerWindow::replace() {}
void QAStViewerWindow::goTo() {}
void QAStViewerWindow::zoomIn() {}
void QAStViewerWindow::zoomOut() {}
void QAStViewerWindow::zoom(int) {}
void QAStViewerWindow::mnFilter() {}
void QAStViewerWindow::reload() {}
void QAStViewerWindow::exportDoc() {}
