// The two records of a run: an item of the questionnaire in hand, and a row of the condition's
// file list. Field names are the ones the definitions and the data files speak of.
#pragma once

#include "state/flags.h"

#include <QString>
#include <array>

namespace corvane {

/// One item of the current questionnaire.
struct Question {
    QString QuestionType;
    qint16 Height = 0;
    qint16 Width = 0;
    qint16 Top = 0;
    qint16 Left = 0;
    qint32 Duration = 0;
    QString QuestionWording;
    QString WordingShown;
    QString VariableName;
    std::array<QString, 13> textlabel;
    std::array<QString, 13> pointlabel;
    std::array<QString, 13> skips; // the per-response `skip(n)`; element 0 unused
    QString Backimage;
    qint16 BackimageTop = 0;
    qint16 BackimageLeft = 0;
    qint16 BackimageWidth = 0;
    qint16 BackimageHeight = 0;
    QString backsound;
    QString Backvideo;
    qint16 BackvideoTop = 0;
    qint16 BackvideoLeft = 0;
    qint16 BackvideoWidth = 0;
    qint16 BackvideoHeight = 0;
    qint16 WGR = 0;
    qint16 BGR = 0;
    qint16 WGRPosition = 0;
    qint16 BGRPosition = 0;
    QString ConditionAppend;
    QString FileName;
    QString Parameters;
    QString skip; // the item's own jump, for types without response buttons
    Flag WriteData = False;
    Flag WriteRT = False;
    qint16 WriteText = 0;
    QString RatedList;
    qint16 omitconditions = 0;
    QString InstructionExtra;
    qint16 MinResponse = 0;
    Flag GoBack = False;
    Flag Answered = False;
    float ScaleStep = 0.0f;
    qint32 RangeLow = 0;
    qint32 RangeHigh = 0;
    QString RangeText; // the range as written, to tell of one that can't be read
    QString Mask;
    QString Dollar;
    qint16 KeepFocus = 0;
    QString Bang;
    QString TTLCode;
    Flag At = False;
};

/// One row of the file list of the current condition. Group fields are numbers held as text.
struct FileEntry {
    QString File;
    qint16 Height = 0;
    qint16 Width = 0;
    qint16 Top = 0;
    qint16 Left = 0;
    qint32 Duration = 0;
    QString Backimage;
    qint16 BackimageTop = 0;
    qint16 BackimageLeft = 0;
    qint16 BackimageWidth = 0;
    qint16 BackimageHeight = 0;
    qint32 BackimageDuration = 0;
    QString backsound;
    QString Backvideo;
    // Read by the item frame but never filled: the parameters of Backvideo land in the entry's
    // own Top, Left, Width and Height.
    qint16 BackvideoLeft = 0;
    qint16 BackvideoTop = 0;
    qint16 BackvideoWidth = 0;
    QString ConditionAppend;
    QString WGR;
    QString BGR;
    QString WGRPosition;
    QString BGRPosition;
    QString Parameters;
    QString Dollar;
};

} // namespace corvane
