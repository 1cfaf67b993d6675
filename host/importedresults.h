#pragma once

#include <QStringList>

class QAOutputWindow;
class QWidget;

// The analyzer and test results (SARIF, JUnit XML) among `files`, replaced by the result files
// the cache converted them to; the others as they are. A file that cannot be converted is left
// out and the reason shown in one warning over `parent` and written to `output`.
QStringList importedAsResultFiles(const QStringList& files, QWidget* parent,
                                  QAOutputWindow* output);

// Converts again the results whose originals changed since they were opened, before a reload;
// what cannot be converted is told as above, and its old results stay.
void refreshImportedResults(QWidget* parent, QAOutputWindow* output);
