#pragma once

#include "sdk/qunknowninterface.h"

class StudioInterface;

// The studio's component, as its plug-ins see it: it answers the studio's services. It lives as
// long as the studio, so references are not counted.
class StudioComponent : public QUnknownInterface
{
public:
    explicit StudioComponent(StudioInterface* studio) : m_studio(studio) {}

    bool queryInterface(const QUuid& id, void** result) override
    {
        *result = id == IID_StudioInterface ? m_studio : nullptr;
        return *result != nullptr;
    }
    unsigned long addRef() override { return 1; }
    unsigned long release() override { return 1; }

private:
    StudioInterface* m_studio;
};
