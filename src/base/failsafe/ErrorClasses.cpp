// Error number ranges and the class each falls into. The error dialog shows the class's
// category text (kCategories below); a number in no range is "Unknown Error Class".
//
// | Numbers                  | What                                           | Class |
// |--------------------------|------------------------------------------------|-------|
// | -2147221504..-2147155969 | object-defined errors (vbObjectError + n)      | 15    |
// | 3-51, 77-90, 92-93       | classic run-time errors                        | 2     |
// | 52-76                    | files, disks, paths                            | 3     |
// | 91, 94                   | unset object variable, invalid use of Null     | 4     |
// | 280-298                  | dynamic data exchange                          | 5     |
// | 320-322, 735             | device names, file formats, temporary files    | 3     |
// | 323-359, 366-399         | properties and control values (380, ...)       | 6     |
// | 360-365, 400-402         | loading, unloading and showing windows         | 7     |
// | 419-428, 451-459, 461    | object references, collections, members        | 8     |
// | 429-450                  | automation servers                             | 13    |
// | 460, 520-521             | clipboard                                      | 9     |
// | 462-463                  | remote servers                                 | 62    |
// | 480-486                  | printer and printed images                     | 11    |
// | 744-746                  | text search and replace                        | 2     |
// | 3000-3999                | the library store (data access)                | 54    |
// | 31001-31037              | embedded object container                      | 57    |
// | 32000-32999              | our own platform layer (errnum in AppError.h)  | 14    |
// | 35600-35618              | list, tree and slider controls                 | 64    |
// | 40000-40059              | remote data objects                            | 65    |
// | 40500-40516              | remote data control                            | 66    |
//
// Classes: 2 "General run-time", 3 "File System (disk, directory or file) access",
// 4 "Non-initialzed object or variant", 5 "Dynamic Data Exchange protocol", 6 "Form,
// control, property or object value", 7 "Form or MDI child form", 8 "Object reference",
// 9 "Clipboard access or format", 11 "Printer access", 13 "Object Linking and Embedding",
// 14 "Custom Control or user defined", 15 "User defined ", 54 "Data Access", 57 "OLE
// Container Control", 62 "Remote OLE Automation", 64 "Windows 95 Custom Control",
// 65 "Remote Data Object (RDO)", 66 "Remote Data Control (RDC)".
#include "failsafe/ErrorClasses.h"

#include <algorithm>
#include <array>

namespace {

struct Range {
    int first;
    int last;
    int classCode;
};

// Sorted by first number, no overlaps (checked below at compile time).
constexpr std::array kRanges{
    Range{ErrorClasses::ObjectErrorBase, ErrorClasses::ObjectErrorBase + 65535, 15},
    Range{3, 51, 2},
    Range{52, 76, 3},
    Range{77, 90, 2},
    Range{91, 91, 4},
    Range{92, 93, 2},
    Range{94, 94, 4},
    Range{280, 298, 5},
    Range{320, 322, 3},
    Range{323, 359, 6},
    Range{360, 365, 7},
    Range{366, 399, 6},
    Range{400, 402, 7},
    Range{419, 428, 8},
    Range{429, 450, 13},
    Range{451, 459, 8},
    Range{460, 460, 9},
    Range{461, 461, 8},
    Range{462, 463, 62},
    Range{480, 486, 11},
    Range{520, 521, 9},
    Range{735, 735, 3},
    Range{744, 746, 2},
    Range{3000, 3999, 54},
    Range{31001, 31037, 57},
    Range{32000, 32999, 14},
    Range{35600, 35618, 64},
    Range{40000, 40059, 65},
    Range{40500, 40516, 66},
};

constexpr bool rangesWellFormed() {
    for (std::size_t i = 0; i < kRanges.size(); ++i) {
        if (kRanges[i].first > kRanges[i].last)
            return false;
        if (i > 0 && kRanges[i - 1].last >= kRanges[i].first)
            return false;
    }
    return true;
}
static_assert(rangesWellFormed(), "error ranges must be sorted and must not overlap");

struct Category {
    int classCode;
    const char* text;
};

// The misspelling of class 4 and the trailing blanks of 15 and 60 are how the texts stand.
constexpr std::array kCategories{
    Category{2, "General run-time"},
    Category{3, "File System (disk, directory or file) access"},
    Category{4, "Non-initialzed object or variant"},
    Category{5, "Dynamic Data Exchange protocol"},
    Category{6, "Form, control, property or object value"},
    Category{7, "Form or MDI child form"},
    Category{8, "Object reference"},
    Category{9, "Clipboard access or format"},
    Category{10, "Picturebox or image control"},
    Category{11, "Printer access"},
    Category{12, "Design-time"},
    Category{13, "Object Linking and Embedding"},
    Category{14, "Custom Control or user defined"},
    Category{15, "User defined "},
    Category{45, "Grid control"},
    Category{46, "ODBC"},
    Category{47, "Common Dialog"},
    Category{54, "Data Access"},
    Category{56, "Object"},
    Category{57, "OLE Container Control"},
    Category{59, "ODBC Network"},
    Category{60, "Network "},
    Category{62, "Remote OLE Automation"},
    Category{63, "Replication"},
    Category{64, "Windows 95 Custom Control"},
    Category{65, "Remote Data Object (RDO)"},
    Category{66, "Remote Data Control (RDC)"},
};

} // namespace

int ErrorClasses::classOf(int number) {
    // The last range that starts at or below the number is the only one that can hold it.
    const auto it = std::upper_bound(kRanges.begin(), kRanges.end(), number,
                                     [](int n, const Range& r) { return n < r.first; });
    if (it == kRanges.begin())
        return 0;
    const Range& r = *std::prev(it);
    return number <= r.last ? r.classCode : 0;
}

QString ErrorClasses::categoryText(int classCode) {
    for (const Category& c : kCategories) {
        if (c.classCode == classCode)
            return QString::fromLatin1(c.text);
    }
    return QStringLiteral("Unknown Error Class");
}
