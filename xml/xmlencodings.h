#pragma once

#include <expat.h>

// An expat unknown-encoding handler for the one-byte character sets expat does not decode
// itself (windows-1252, ISO-8859-15, KOI8-R, ...), through the C library's converters.
// `unsupportedName` is a QString*: it is given the declared name when the set cannot be
// decoded (for the error message) and cleared when it can. Install it with
// XML_SetUnknownEncodingHandler(parser, &decodeSingleByteEncoding, &unsupportedName).
int decodeSingleByteEncoding(void* unsupportedName, const XML_Char* name, XML_Encoding* info);
