#pragma once

#include <QStringList>

// crcview defects [--defects FILE] [--format csv|json]: the defects filed from crcstudio, on
// standard output for scripts. `usage` is called for a bad command line.
int defectsCommand(const QStringList& arguments, int (*usage)());
