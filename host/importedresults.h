#pragma once

#include <QStringList>

class QAOutputWindow;
class QWidget;

// The analyzer and test results (SARIF, JUnit XML) among `files`, replaced by the result files
// the cache converted them to; the others as they are. A file that cannot be converted is left
// out and the reason shown in one warning over `parent` and written to `output`.
QStringList importedAsResultFiles(const QStringList& files, QWidget* parent,
                                  QAOutputWindow* output);
