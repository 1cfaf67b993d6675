#pragma once

#include <QString>

struct RunIdentities;

// The identities of a result file's results, in one streaming pass over its nodes that keeps
// nothing of the document but, for each failed result, its first link to a source line and the
// start of its first paragraph. A node is identified by its key when it has one, else by its
// path of (type, name) from the top with an occurrence number among siblings of the same type
// and name. False with "FILE:LINE:COLUMN: message" in `error` when the file cannot be read.
bool readResultFileIdentities(const QString& path, RunIdentities* run, QString* error);
