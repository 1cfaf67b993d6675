#pragma once

#include <QString>
#include <QStringList>
#include <deque>

// Where the user is: the files shown, the selected outline entry by its path of names, and the
// tagged part of a document at the top of the view with how far it is scrolled.
struct Place
{
    QStringList files;
    QStringList entryPath;
    QString document;
    QString anchor;
    int anchorTop = 0;
};

// The way back and the way forward, as in a browser: following a link leaves a place behind
// (and forgets the way forward); going back leaves the place shown for the way forward, and the
// other way round. Each way keeps the last `bound` places.
class PlaceHistory
{
public:
    static constexpr size_t bound = 100;

    bool canGoBack() const { return !m_back.empty(); }
    bool canGoForward() const { return !m_forward.empty(); }
    // The place Back (Forward) shows; only when there is one.
    const Place& backPlace() const { return m_back.back(); }
    const Place& forwardPlace() const { return m_forward.back(); }

    // A link was followed from `here`.
    void leave(const Place& here);
    // Back (Forward) was shown, from `here`.
    void wentBack(const Place& here);
    void wentForward(const Place& here);
    // Takes back the place last left, when what a link led to could not be shown.
    Place takeBack();

private:
    static void push(std::deque<Place>& way, const Place& place);

    std::deque<Place> m_back;
    std::deque<Place> m_forward;
};
