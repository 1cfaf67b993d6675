#include "session/placehistory.h"

void PlaceHistory::push(std::deque<Place>& way, const Place& place)
{
    way.push_back(place);
    if (way.size() > bound)
        way.pop_front();
}

void PlaceHistory::leave(const Place& here)
{
    push(m_back, here);
    m_forward.clear();
}

void PlaceHistory::wentBack(const Place& here)
{
    m_back.pop_back();
    push(m_forward, here);
}

void PlaceHistory::wentForward(const Place& here)
{
    m_forward.pop_back();
    push(m_back, here);
}

Place PlaceHistory::takeBack()
{
    Place place = m_back.back();
    m_back.pop_back();
    return place;
}
