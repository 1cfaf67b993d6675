#pragma once

#include <QUuid>

// The component interface through which the studio and its plug-ins find each other's
// services: ask for an interface by its identifier, and count the references held.
class QUnknownInterface
{
public:
    virtual ~QUnknownInterface() = default;

    // Writes the interface `id` into `result` and returns true, or writes null and returns false.
    virtual bool queryInterface(const QUuid& id, void** result) = 0;
    virtual unsigned long addRef() = 0;
    virtual unsigned long release() = 0;
};

// The studio's services (StudioInterface), as the studio's component answers them.
inline const QUuid IID_StudioInterface(0xcedeb1c6, 0xd23b, 0x431d, 0xa0, 0x38, 0x12, 0x75, 0xcd,
                                       0x05, 0x69, 0x13);
// A viewer plug-in (QAStViewerPlugin), as a plug-in's component answers it.
inline const QUuid IID_QAStViewerPlugin(0x5b1d0c27, 0x8f1e, 0x4c55, 0x9a, 0x61, 0x3e, 0x0d, 0x72,
                                        0x44, 0xb8, 0x19);
