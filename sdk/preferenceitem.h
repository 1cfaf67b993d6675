#pragma once

#include <QObject>
#include <QString>

class QWidget;

// One page of the studio's preferences dialog. The dialog asks a page for its widget, shows the
// page's values in it (updateContents), and on confirmation takes them back (apply). Pages form a
// tree: child() is the first page below this one, next() the following page at the same level.
class PreferencePageInterface
{
public:
    virtual ~PreferencePageInterface();

    virtual QString tag() const = 0;
    virtual QString title() const = 0;
    virtual QString helpTag() const = 0;
    // Builds the page's widgets below `parent` and returns the top one; the dialog owns it.
    virtual QWidget* createWidget(QWidget* parent) = 0;
    // Shows the page's values in its widgets.
    virtual void updateContents() = 0;
    // Takes the values from the widgets.
    virtual void apply() = 0;
    virtual void cancel() = 0;
    // Resets the values (not the widgets) to the defaults.
    virtual void defaults() = 0;
    virtual PreferencePageInterface* child() const = 0;
    virtual PreferencePageInterface* next() const = 0;
};

// The usual base of a page: keeps its texts and its links in the page tree. The links are
// borrowed: whoever made the pages owns them.
class PreferenceItem : public QObject, public PreferencePageInterface
{
    Q_OBJECT

public:
    PreferenceItem(const QString& title, const QString& tag, const QString& helpTag);
    ~PreferenceItem() override;

    QString tag() const override { return m_tag; }
    QString title() const override { return m_title; }
    QString helpTag() const override { return m_helpTag; }
    PreferenceItem* child() const override { return m_child; }
    PreferenceItem* next() const override { return m_next; }
    void setChild(PreferenceItem* child) { m_child = child; }
    void setNext(PreferenceItem* next) { m_next = next; }

private:
    QString m_title;
    QString m_tag;
    QString m_helpTag;
    PreferenceItem* m_child = nullptr;
    PreferenceItem* m_next = nullptr;
};
