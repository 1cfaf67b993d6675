// Fuzz target for the result file reader: any input must give a result or a clear error, never a
// crash, a hang or a leak. Built with -DCRC_FUZZ=ON under clang (libFuzzer):
//   fuzz_reader -max_total_time=300 corpus/ examples/

#include "folio/model/ddocument.h"
#include "model/qareporterdata.h"
#include "model/qareporterdatatree.h"
#include "reader/qastxmlrodhandler.h"
#include "reader/qastxmlrodreader.h"

#include <QBuffer>
#include <QByteArray>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    QBuffer buffer;
    buffer.setData(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)));
    buffer.open(QIODevice::ReadOnly);
    QAstXmlRodReader reader;
    const bool accepted = reader.parse(&buffer, nullptr, nullptr);
    if (!accepted && reader.errorString().isEmpty())
        std::abort(); // every refusal must say why
    QAReporterData record;
    record.tree = reader.handler()->takeDataTree().release();
    record.typeTree = reader.handler()->takeTypeTree();
    record.document = reader.handler()->takeDocument();
    return 0;
}
