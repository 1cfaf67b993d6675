#pragma once

#include <QtGlobal>

// The studio's defect tracker. Filing a defect takes five steps, each answering non-zero on
// success; the tracker runs whatever command lines they need and can show them.
class TrackwellInterface
{
public:
    virtual ~TrackwellInterface() = default;

    virtual quint16 open() = 0;
    virtual quint16 setHeadline(const char* headline) = 0;
    virtual quint16 setDescription(const char* description) = 0;
    virtual quint16 attachFile(const char* label, const char* path) = 0;
    // A detail of the item filed, by name ("source_path", "source_line", "rule", "level",
    // "message", "snippet"), given between attachFile() and submit(). A tracker that keeps no
    // details takes and ignores them.
    virtual quint16 setDetail(const char* name, const char* value)
    {
        Q_UNUSED(name);
        Q_UNUSED(value);
        return 1;
    }
    virtual quint16 submit(int mode) = 0;

    // The command line of the last step.
    virtual const char* getCmdLine() = 0;
    // Non-zero when command lines are to be shown to the user.
    virtual int activatedCmdLine() const = 0;
    // What went wrong in the last step.
    virtual const char* getErrorMessage() const = 0;
};
