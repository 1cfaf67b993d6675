#pragma once

#include <QList>
#include <QMessageBox>
#include <QStringList>
#include <functional>
#include <memory>

class QDialog;

// Every message box, question and file or directory dialog of the plug-in goes through here.
// The default shows the real dialogs, message boxes with their text as plain text (it names files
// and quotes them); tests and headless runs install ScriptedDialogs, which records what was asked
// and answers from a script, so nothing ever blocks.
class QADialogs
{
public:
    virtual ~QADialogs() = default;

    virtual QMessageBox::StandardButton message(QWidget* parent, QMessageBox::Icon icon,
                                                const QString& title, const QString& text,
                                                QMessageBox::StandardButtons buttons,
                                                QMessageBox::StandardButton defaultButton) = 0;
    // `selectedFilter`, when given, is the filter shown first and is set to the one the user
    // chose.
    virtual QStringList openFileNames(QWidget* parent, const QString& caption,
                                      const QString& directory, const QString& filter,
                                      QString* selectedFilter = nullptr) = 0;
    virtual QString saveFileName(QWidget* parent, const QString& caption, const QString& directory,
                                 const QString& filter) = 0;
    virtual QString existingDirectory(QWidget* parent, const QString& caption,
                                      const QString& directory) = 0;
    // Runs one of the studio's own dialogs to its end, modally; its result (QDialog::Accepted or
    // Rejected).
    virtual int run(QDialog* dialog) = 0;

    // The dialogs in force; the real ones until install() is called.
    static QADialogs& current();
    // Replaces the dialogs in force; a null argument brings back the real ones.
    static void install(std::unique_ptr<QADialogs> dialogs);

    // Shortcuts for the common message boxes.
    static void information(QWidget* parent, const QString& title, const QString& text);
    static void warning(QWidget* parent, const QString& title, const QString& text);
    static QMessageBox::StandardButton question(QWidget* parent, const QString& title,
                                                const QString& text,
                                                QMessageBox::StandardButtons buttons,
                                                QMessageBox::StandardButton defaultButton);
};

// Answers from a script and keeps a record of every dialog asked for.
class ScriptedDialogs : public QADialogs
{
public:
    struct Asked
    {
        QString kind; // "message", "open", "save", "directory" or "dialog"
        QString title;
        QString text;
        QString selectedFilter; // the filter an open dialog showed first
    };

    QMessageBox::StandardButton message(QWidget* parent, QMessageBox::Icon icon,
                                        const QString& title, const QString& text,
                                        QMessageBox::StandardButtons buttons,
                                        QMessageBox::StandardButton defaultButton) override;
    QStringList openFileNames(QWidget* parent, const QString& caption, const QString& directory,
                              const QString& filter, QString* selectedFilter = nullptr) override;
    QString saveFileName(QWidget* parent, const QString& caption, const QString& directory,
                         const QString& filter) override;
    QString existingDirectory(QWidget* parent, const QString& caption,
                              const QString& directory) override;
    // Hands the dialog to the next of `dialogRuns` (which may show it and act on it as a user
    // does) and answers its result; accepts it untouched when there is none.
    int run(QDialog* dialog) override;

    // Answers to give, in order; when they run out, message boxes take their default button
    // and file dialogs are cancelled.
    QList<QMessageBox::StandardButton> buttons;
    QList<QStringList> files;
    // The filters chosen in the open dialogs that are answered with files, in order; when they
    // run out, the filter shown first stays.
    QList<QString> filters;
    QList<QString> directories;
    QList<std::function<int(QDialog*)>> dialogRuns;
    QList<Asked> asked;
};
