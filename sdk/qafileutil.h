#pragma once

#include <QString>

namespace QAFileUtil {

// `path` relative to the directory `baseDir` when both are absolute ("/a/b" and "/a/c/d.c" give
// "../c/d.c"); a relative `path`, or one that shares nothing with `baseDir` but the root of
// another drive, comes back as it is.
QString absPathToRelative(const QString& baseDir, const QString& path);

} // namespace QAFileUtil
