#pragma once

#include <QString>
#include <QtGlobal>

// The text a plug-in library carries to say which toolkit build it was made with. The studio
// reads it before it instantiates anything and refuses a library made for another build: the
// same version, flags and build key, or no plug-in.
#if defined(QT_DEBUG)
#define QA_UCM_FLAGS "11"
#else
#define QA_UCM_FLAGS "01"
#endif
#if defined(Q_PROCESSOR_X86_64)
#define QA_UCM_ARCH "x86_64"
#elif defined(Q_PROCESSOR_ARM_64)
#define QA_UCM_ARCH "arm64"
#else
#define QA_UCM_ARCH "unknown-cpu"
#endif
#define QA_UCM_STR2(x) #x
#define QA_UCM_STR(x) QA_UCM_STR2(x)
#if defined(Q_CC_CLANG)
#define QA_UCM_COMPILER "clang-" QA_UCM_STR(__clang_major__)
#elif defined(Q_CC_GNU)
#define QA_UCM_COMPILER "g++-" QA_UCM_STR(__GNUC__)
#else
#define QA_UCM_COMPILER "cc"
#endif

#define QA_UCM_VERIFICATION_DATA                                                                   \
    "pattern=QT_UCM_VERIFICATION_DATA\n"                                                           \
    "version=" QT_VERSION_STR "\n"                                                                 \
    "flags=" QA_UCM_FLAGS "\n"                                                                     \
    "buildkey=" QA_UCM_ARCH " " QA_UCM_COMPILER " Qt" QT_VERSION_STR " shared"

namespace QAUcmVerification {
// The text of this build.
inline const char* expected()
{
    return QA_UCM_VERIFICATION_DATA;
}
// True when `text` (a library's verification text) fits this build; otherwise `problem` says
// which field differs, with both values.
bool accepts(const char* text, QString* problem);
} // namespace QAUcmVerification
