#pragma once

#include "import/resultimport.h"

#include <QList>
#include <QString>

// Result files converted from analyzer and test results, kept in the user's cache folder: one
// folder per original, named by a hash of its absolute path, size and modification time (so a
// changed original is converted again), holding the result file under the original's own name
// (so that the viewer names the original). Each process that uses a conversion holds a shared
// lock on its folder until it ends; a new conversion removes the earlier ones of the same
// original that no process holds. Nothing is ever written beside the original.
namespace ImportCache {

// The result file converted from `input`, made now unless an up-to-date one is in the cache.
// Null, with `error` filled, when `input` cannot be converted or the cache cannot be written.
// `progress`, when given, is told how far a conversion has come.
QString resultFileFor(const QString& input, ImportError* error,
                      const ImportProgress& progress = {});

// The file a result file of the cache was converted from, in this process; `path` otherwise.
QString originalOf(const QString& path);
// `text` (a message about files) with each result file converted in this process named by its
// original instead; a line and column in such a file are said to be in its conversion.
QString originalsIn(QString text);

// Converts again, into the same result files, the originals converted in this process that have
// changed since, so that reading those files again shows the new results. Returns the errors of
// the originals that could not be converted; their result files stay as they were.
QList<ImportError> refreshChanged();

// The folder of the cache.
QString directory();

} // namespace ImportCache
