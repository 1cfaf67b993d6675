#include "sdk/qadialogs.h"

#include <QDialog>
#include <QFileDialog>

namespace {

class RealDialogs : public QADialogs
{
public:
    QMessageBox::StandardButton message(QWidget* parent, QMessageBox::Icon icon,
                                        const QString& title, const QString& text,
                                        QMessageBox::StandardButtons buttons,
                                        QMessageBox::StandardButton defaultButton) override
    {
        QMessageBox box(icon, title, QString(), buttons, parent);
        box.setTextFormat(Qt::PlainText);
        box.setText(text);
        box.setDefaultButton(defaultButton);
        return QMessageBox::StandardButton(box.exec());
    }

    int run(QDialog* dialog) override { return dialog->exec(); }

    QStringList openFileNames(QWidget* parent, const QString& caption, const QString& directory,
                              const QString& filter, QString* selectedFilter) override
    {
        return QFileDialog::getOpenFileNames(parent, caption, directory, filter, selectedFilter);
    }

    QString saveFileName(QWidget* parent, const QString& caption, const QString& directory,
                         const QString& filter) override
    {
        return QFileDialog::getSaveFileName(parent, caption, directory, filter);
    }

    QString existingDirectory(QWidget* parent, const QString& caption,
                              const QString& directory) override
    {
        return QFileDialog::getExistingDirectory(parent, caption, directory);
    }
};

std::unique_ptr<QADialogs>& installed()
{
    static std::unique_ptr<QADialogs> dialogs = std::make_unique<RealDialogs>();
    return dialogs;
}

} // namespace

QADialogs& QADialogs::current()
{
    return *installed();
}

void QADialogs::install(std::unique_ptr<QADialogs> dialogs)
{
    installed() = dialogs ? std::move(dialogs) : std::make_unique<RealDialogs>();
}

void QADialogs::information(QWidget* parent, const QString& title, const QString& text)
{
    current().message(parent, QMessageBox::Information, title, text, QMessageBox::Ok,
                      QMessageBox::Ok);
}

void QADialogs::warning(QWidget* parent, const QString& title, const QString& text)
{
    current().message(parent, QMessageBox::Warning, title, text, QMessageBox::Ok, QMessageBox::Ok);
}

QMessageBox::StandardButton QADialogs::question(QWidget* parent, const QString& title,
                                                const QString& text,
                                                QMessageBox::StandardButtons buttons,
                                                QMessageBox::StandardButton defaultButton)
{
    return current().message(parent, QMessageBox::Question, title, text, buttons, defaultButton);
}

QMessageBox::StandardButton ScriptedDialogs::message(QWidget*, QMessageBox::Icon,
                                                     const QString& title, const QString& text,
                                                     QMessageBox::StandardButtons,
                                                     QMessageBox::StandardButton defaultButton)
{
    asked.append({QStringLiteral("message"), title, text, QString()});
    return buttons.isEmpty() ? defaultButton : buttons.takeFirst();
}

QStringList ScriptedDialogs::openFileNames(QWidget*, const QString& caption, const QString&,
                                           const QString& filter, QString* selectedFilter)
{
    asked.append(
        {QStringLiteral("open"), caption, filter, selectedFilter ? *selectedFilter : QString()});
    if (files.isEmpty())
        return QStringList();
    if (selectedFilter && !filters.isEmpty())
        *selectedFilter = filters.takeFirst();
    return files.takeFirst();
}

QString ScriptedDialogs::saveFileName(QWidget*, const QString& caption, const QString&,
                                      const QString& filter)
{
    asked.append({QStringLiteral("save"), caption, filter, QString()});
    if (files.isEmpty())
        return QString();
    const QStringList answer = files.takeFirst();
    return answer.isEmpty() ? QString() : answer.first();
}

QString ScriptedDialogs::existingDirectory(QWidget*, const QString& caption, const QString&)
{
    asked.append({QStringLiteral("directory"), caption, QString(), QString()});
    return directories.isEmpty() ? QString() : directories.takeFirst();
}

int ScriptedDialogs::run(QDialog* dialog)
{
    asked.append({QStringLiteral("dialog"), dialog->windowTitle(), QString(), QString()});
    if (dialogRuns.isEmpty())
        return QDialog::Accepted;
    return dialogRuns.takeFirst()(dialog);
}
