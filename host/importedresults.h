#pragma once

#include <QStringList>

class QWidget;
class StudioInterface;

// The analyzer and test results (SARIF, JUnit XML) among `files`, replaced by the result files
// the cache converted them to; the others as they are. A file that cannot be converted is left
// out and the reason shown in one warning over `parent` and written to the studio's output. The
// studio shows the progress of each conversion.
QStringList importedAsResultFiles(const QStringList& files, QWidget* parent,
                                  StudioInterface* studio);

// Converts again the results whose originals changed since they were opened, before a reload;
// what cannot be converted is told as above, and its old results stay.
void refreshImportedResults(QWidget* parent, StudioInterface* studio);
