#pragma once

#include <QStringList>

// crcview diff [--format text|json|sarif|markdown [-o FILE]]... [--check] BASE HEAD: what is new,
// fixed and still failing in HEAD against BASE. `usage` is called for a bad command line.
int diffCommand(const QStringList& arguments, int (*usage)());
