#include "model/qareporterdata.h"

#include "folio/model/ddocument.h"
#include "model/qareporterdatatree.h"

QAReporterData::QAReporterData() = default;

QAReporterData::~QAReporterData()
{
    delete tree.data();
    typeTree.reset();
    document.reset();
}
