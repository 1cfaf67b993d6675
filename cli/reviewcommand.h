#pragma once

#include <QStringList>

// crcview review set|list|export|import [--defects FILE] ...: the decisions about failed results
// kept in the defect store, shared between people through a JSON file. `usage` is called for a
// bad command line.
int reviewCommand(const QStringList& arguments, int (*usage)());
