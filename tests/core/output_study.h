// The study that the data-writer tests share: two questionnaires with every kind of column
// (numbers and texts, a list of ten, items without a response or a time column, one name in
// both, names that agree in their first twelve characters, a capital that sorts first, a name too
// wide for its column), and an experiment of two conditions.
#pragma once

#include "definition_fixtures.h"

namespace corvane::test {

inline const QString kExperimentHeader =
    "Condition,position,file,Backimage,Backvideo,backsound,WGR,BGR,Parameters\n";
inline const QString kItemsHeader =
    "questionnumber,QuestionType,VariableName,Parameters,WriteData,WriteRT,WriteText\n";

inline void MakeOutputStudy(const QString& root, const QString& experimentName = "study.exp") {
    MakeDefinition(root, "alpha.que",
                   kItemsHeader + "1,Scale Response,mood,,1,0,0\n"
                                  "2,Fill-in-the-Blank,name,,1,0,1\n"
                                  "3,Thought Listing,tlist,(n10),1,1,1\n"
                                  "4,Instructions,intro,,0,0,0\n"
                                  "5,Essay,comment,,0,1,1\n"
                                  "6,Scale Response,feelingscore1,,1,0,0\n");
    MakeDefinition(root, "beta.que",
                   kItemsHeader + "1,Scale Response,mood,,1,1,0\n"
                                  "2,Multiple Response,pick,(p3),1,1,0\n"
                                  "3,Fill-in-the-Blank,Age,,1,1,1\n"
                                  "4,Fill-in-the-Blank,favouritecolour,,1,0,1\n"
                                  "5,Scale Response,feelingscore2,,1,1,0\n");
    MakeDefinition(root, experimentName,
                   kExperimentHeader + "1,1,alpha.que,,,,0,0,\n"
                                       "2,1,beta.que,,,,0,0,\n"
                                       "2,2,alpha.que,,,,0,0,\n");
}

} // namespace corvane::test
