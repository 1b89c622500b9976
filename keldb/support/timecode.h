// time_def: a timecode as label text, hours, minutes, seconds and frames, in its two written forms.
//
// Read are two or fewer digits each of hours, minutes, seconds, frames with any of : ; . , between them, or eight
// digits without separators; a text with a ';' or with a drop-frame mark at its end (';' after eight digits) is
// drop-frame, the convention of SMPTE ST 12-1 for counting 30/1.001 frames a second. The parts are kept as written: no
// rate is known here, so nothing is range-checked or renumbered. A text that is no timecode, the empty text too, is
// given back unchanged by both forms.
#ifndef KELDB_SUPPORT_TIMECODE_H
#define KELDB_SUPPORT_TIMECODE_H

#include "keldb/support/export.h"
#include "keldb/support/string.h"

class KELDB_API time_def {
public:
    static constexpr int kLabelKind = 6;  // the kind of text given in every call

    time_def(const String& text, int kind);

    bool valid() const noexcept { return valid_; }
    bool dropFrame() const noexcept { return drop_; }
    String get_punctuated_str() const;  // 10:00:00:05, or 10:00:00;05 when drop-frame
    String get_database_str() const;    // 10000005, or 10000005; when drop-frame

private:
    String text_;
    unsigned char parts_[4] = {0, 0, 0, 0};  // hours, minutes, seconds, frames, each 0..99
    bool valid_ = false;
    bool drop_ = false;
};

#endif
