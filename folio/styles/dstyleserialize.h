#pragma once

#include "folio/styles/dstyle.h"

#include <memory>

class QARes;
class QAResGroup;

// Keeps styles in the settings tree. A style becomes a group:
//   string "name", string "family", int "size", booleans "bold", "italic", "underline",
//   rgb "color" or boolean "default_color" (true: the view's colour), the same for "background",
//   string "align" (left, center, right, justify), int "indent", boolean "pre".
class DStyleSerialize
{
public:
    // The largest point size and indent taken from settings (and offered by the style editor).
    static constexpr int maxSize = 999;
    static constexpr int maxIndent = 9999;

    // A new group named `name` holding every property of `style`.
    static std::unique_ptr<QAResGroup> styleToResources(const QString& name, const DStyle& style);

    // Sets the properties of `style` that `res` holds; the name is not changed. Children of an
    // unknown name are ignored; children of the wrong kind or with an unusable value are skipped
    // and described in `problem`. False when `res` is not a group or a child was skipped.
    static bool styleFromResources(const QARes* res, DStyle& style, QString* problem = nullptr);
};
