#include "xml/xmlencodings.h"

#include <QString>
#include <cerrno>
#include <iconv.h>

namespace {

// Builds expat's table for a one-byte character set. Encodings with characters of more than one
// byte are refused: `map` is then left incomplete and false returned.
bool mapSingleByteEncoding(const char* name, int map[256])
{
    iconv_t converter = iconv_open("UTF-32LE", name);
    if (converter == iconv_t(-1))
        return false;
    bool singleByte = true;
    for (int byte = 0; byte < 256 && singleByte; ++byte) {
        iconv(converter, nullptr, nullptr, nullptr, nullptr);
        char in = char(byte);
        unsigned char out[8] = {};
        char* inPointer = &in;
        char* outPointer = reinterpret_cast<char*>(out);
        std::size_t inLeft = 1;
        std::size_t outLeft = sizeof out;
        const std::size_t converted = iconv(converter, &inPointer, &inLeft, &outPointer, &outLeft);
        if (converted != std::size_t(-1) && inLeft == 0 && sizeof out - outLeft == 4) {
            map[byte] = int(out[0] | out[1] << 8 | out[2] << 16 | unsigned(out[3]) << 24);
        } else if (converted == std::size_t(-1) && errno == EILSEQ) {
            map[byte] = -1; // a byte the set leaves undefined
        } else {
            singleByte = false; // the start of a longer sequence, or a stateful encoding
        }
    }
    iconv_close(converter);
    return singleByte;
}

} // namespace

int decodeSingleByteEncoding(void* unsupportedName, const XML_Char* name, XML_Encoding* info)
{
    auto* unsupported = static_cast<QString*>(unsupportedName);
    *unsupported = QString::fromUtf8(name);
    if (!mapSingleByteEncoding(name, info->map))
        return XML_STATUS_ERROR;
    info->data = nullptr;
    info->convert = nullptr;
    info->release = nullptr;
    unsupported->clear();
    return XML_STATUS_OK;
}
