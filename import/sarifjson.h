#pragma once

#include "import/jsonallocator.h"

#include <QByteArrayView>
#include <QString>
#include <rapidjson/document.h>

// Lenient reading of a parsed SARIF log: a member or element that is absent, or of another
// type than asked for, reads as null, empty or the fallback.
namespace SarifJson {

using Bytes = QByteArrayView;

inline const Value* member(const Value* object, const char* name)
{
    if (!object || !object->IsObject())
        return nullptr;
    const auto found = object->FindMember(name);
    return found == object->MemberEnd() ? nullptr : &found->value;
}

inline const Value* member(const Value* object, Bytes name)
{
    if (!object || !object->IsObject() || name.isEmpty())
        return nullptr;
    const Value key(rapidjson::StringRef(name.data(), rapidjson::SizeType(name.size())));
    const auto found = object->FindMember(key);
    return found == object->MemberEnd() ? nullptr : &found->value;
}

inline Bytes textOf(const Value* value)
{
    return value && value->IsString() ? Bytes(value->GetString(), value->GetStringLength())
                                      : Bytes();
}

inline int integerOf(const Value* value, int fallback)
{
    return value && value->IsInt() ? value->GetInt() : fallback;
}

inline const Value* elementOf(const Value* array, int index)
{
    if (!array || !array->IsArray() || index < 0 || index >= int(array->Size()))
        return nullptr;
    return &(*array)[rapidjson::SizeType(index)];
}

// "where[index]", a JSON path for messages.
inline QString jsonPath(const QString& where, int index)
{
    return QStringLiteral("%1[%2]").arg(where).arg(index);
}

} // namespace SarifJson
