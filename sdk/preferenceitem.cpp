#include "sdk/preferenceitem.h"

PreferencePageInterface::~PreferencePageInterface() = default;

PreferenceItem::PreferenceItem(const QString& title, const QString& tag, const QString& helpTag)
    : m_title(title), m_tag(tag), m_helpTag(helpTag)
{
}

PreferenceItem::~PreferenceItem() = default;
