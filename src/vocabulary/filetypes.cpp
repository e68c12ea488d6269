// File types and categories: the tables and the look-ups over them.
//
// Contents:
//   1. The category table and KVE_fileCategoryEnum.
//   2. The file type table and KVE_fileTypeEnum.
//   3. The extension table.
//   4. The subcategory table.
//   5. The membership table.
//   6. Look-ups.
#include "vocabulary/filetypes.h"

#include "resources/resources.h"
#include "workspace/context.h"

// Icon ids are resource numbers: the low 16 bits count.
static void* loadIcon(int iconID, int size) {
    return LoadImageA(moduleHandle, MAKEINTRESOURCEA(iconID & 0xFFFF), IMAGE_ICON, size, size, 0);
}

// ---------------------------------------------------------------------------
// 1. Categories
// ---------------------------------------------------------------------------

// value, message id, file string, parent (38: none), icon id
const KVE_fileCategoryEnum::infoStruct KVE_fileCategoryEnum::infoArray[] = {
    {0, 17, "Sketchvane", 38, 126},
    {1, 18, "File Based Simulation", 38, 125},
    {2, 19, "Simulation Stimuli", 38, 128},
    {3, 20, "Lamineer", 38, 115},
    {4, 21, "Fusek", 38, 119},
    {5, 22, "Model Libraries", 38, 114},
    {6, 23, "Symbol Libraries", 38, 130},
    {7, 25, "Footprint Libraries", 38, 137},
    {8, 26, "Padstack Libraries", 38, 143},
    {9, 27, "Vantric", 38, 118},
    {10, 51, "Miscellaneous Files", 38, 125},
    {11, 28, "User Files", 38, 144},
    {12, 28, "User Files", 38, 134},
    {13, 15, "Checkpoints", 0, 134},
    {14, 14, "Dependency Files", 0, 134},
    {15, 16, "System Library Files", 0, 134},
    {16, 49, "Reports", 0, 134},
    {17, 34, "Simulation Output", 0, 134},
    {18, 33, "Netlists", 0, 134},
    {19, 15, "Checkpoints", 0, 134},
    {20, 30, "Local Dependencies", 0, 134},
    {21, 31, "External Dependencies", 0, 134},
    {22, 32, "System Dependencies", 0, 134},
    {23, 35, "System Files", 0, 134},
    {24, 36, "Output", 1, 134},
    {25, 37, "System Files", 1, 134},
    {26, 38, "Reports", 3, 134},
    {27, 39, "Gerber Output", 3, 134},
    {28, 40, "Drill Output", 3, 134},
    {29, 41, "Autorouter Control", 3, 134},
    {30, 42, "System Files", 3, 134},
    {31, 45, "Reports", 4, 134},
    {32, 46, "Device Programming Output", 4, 134},
    {33, 44, "Physical Implementation", 4, 134},
    {34, 43, "Dependencies", 4, 134},
    {35, 47, "System Files", 4, 134},
    {36, 48, "System Files", 5, 134},
    {37, 50, "System Files", 6, 134},
    {38, 1, "invalid", 38, 134},
};
const char KVE_fileCategoryEnum::fileKeyword[] = "fileCategory";

KV_VOCABULARY_DEFINITIONS(KVE_fileCategoryEnum)

bool KVE_fileCategoryEnum::topLevel() const {
    int v = validate(value_);
    return v != invalid && infoArray[v].parent == invalid;
}

void* KVE_fileCategoryEnum::getIcon(int size) const {
    int id = infoArray[validate(value_)].iconID;
    return loadIcon(id ? id : 134, size);
}

void* KVE_fileCategoryEnum::getSmallIcon() const { return getIcon(16); }
void* KVE_fileCategoryEnum::getNormalIcon() const { return getIcon(32); }
void* KVE_fileCategoryEnum::getLargeIcon() const { return getIcon(48); }

// ---------------------------------------------------------------------------
// 2. File types
// ---------------------------------------------------------------------------

// value, message id, file string, category (38: none), flags, icon id
// (0: a user file's), INI command key
const KVE_fileTypeEnum::infoStruct KVE_fileTypeEnum::infoArray[] = {
    {0, 1001, "1OP", 38, 0, 135, nullptr}, // Tarnel back-annotation file for Sketchvane
    {1, 1002, "ADF", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Lamineer Aperture Definition
    {2, 1003, "AFB", 38, 0, 135, nullptr}, // Tarnel Fusek Compiled Logic Equations
    {3, 1004, "ALS", 38, 0, 135, "TEXTEDITCMD"}, // Tarnel Sketchvane Aliases
    {4, 1005, "ALT", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Sketchvane PCAD Netlist File
    {5, 1006, "APR", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Lamineer Aperture Report
    {6, 1007, "ASC", 3, 0, 0, nullptr}, // PADS Routed PCB File
    {7, 1008, "ATR", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Lamineer Attributes Report
    {8, 1009, "AVL", 38, 0, 0, nullptr}, // Tarnel Fusek Available Parts
    {9, 1010, "BCO", 38, 0, 135, "TEXTEDITCMD"}, // Tarnel Lamineer/Sketchvane Backward Change Order
    {10, 1011, "BLG", 38, 0, 139, "TEXTEDITCMD"}, // Tarnel Sketchvane BCO Log
    {11, 1012, "BNL", 38, 0, 135, "TEXTEDITCMD"}, // Tarnel Lamineer Netlist
    {12, 1013, "BOM", 38, 0, 139, "TEXTEDITCMD"}, // Tarnel Bill-Of-Materials
    {13, 1014, "BST", 9, 0, 142, "TEXTEDITCMD"}, // Tarnel Vantric Board Stack
    {14, 1015, "CAT", 9, 0, 122, "WAVIXCMD"}, // Tarnel Concatenated Wavix Data Files
    {15, 1016, "CCO", 38, 0, 138, "TEXTEDITCMD"}, // SPECCTRA Process Log For Tarnel Lamineer
    {16, 1017, "CCT", 38, 0, 135, "TEXTEDITCMD"}, // Tarnel Lamineer Design Output for SPECCTRA
    {17, 1142, "CDF", 38, 0, 139, "TEXTEDITCMD"}, // User specified Bill Of Materials information file.
    {18, 1018, "CDI", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Sketchvane CADStar Netlist File
    {19, 1019, "CIR", 1, 5, 125, "TEXTEDITCMD"}, // Tarnel Circuit
    {20, 1020, "CMD", 38, 0, 135, "TEXTEDITCMD"}, // Tarnel Wavix Commands
    {21, 1130, "CNL", 38, 0, 135, "TEXTEDITCMD"}, // Fusek Netlist File
    {22, 1125, "CHKPT", 38, 0, 145, nullptr}, // Tarnel Checkpoint
    {23, 1131, "CSD", 38, 0, 122, "WAVIXCMD"}, // Tarnel CSDF Output File
    {24, 1021, "CST", 38, 0, 135, nullptr}, // Tarnel Fusek Constraints
    {25, 1022, "CUR", 38, 0, 135, nullptr}, // Tarnel Wavix Cursors
    {26, 1023, "DAT", 38, 0, 122, "WAVIXCMD"}, // Tarnel Wavix Data File
    {27, 1024, "DBF", 38, 0, 0, nullptr}, // Tarnel Fusek file used by MINC
    {28, 1025, "DBX", 9, 0, 142, nullptr}, // Tango Converted Layout for Vantric
    {29, 1132, "DID", 38, 0, 138, "TEXTEDITCMD"}, // CCT Command Log File
    {30, 1026, "DLG", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Lamineer Drill Job Log
    {31, 1027, "DMP", 9, 0, 142, nullptr}, // Tarnel Vantric Part Package Types
    {32, 1028, "DO", 38, 5, 138, "TEXTEDITCMD"}, // Tarnel Lamineer Do file for SPECCTRA - commands
    {33, 1029, "DOC", 38, 0, 120, "TEXTEDITCMD"}, // Tarnel Fusek Design Documentation
    {34, 1030, "DRC", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Lamineer DRC Report
    {35, 1031, "DRILL", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Lamineer Drill File
    {36, 1139, "DSC", 38, 0, 135, nullptr}, // Tarnel Checkpoint Description File
    {37, 1032, "DSL", 4, 5, 132, "TEXTEDITCMD"}, // Tarnel Design Synthesis
    {38, 1033, "DXF", 38, 0, 135, nullptr}, // AutoCad File
    {39, 1034, "EDF", 38, 0, 135, "TEXTEDITCMD"}, // Tarnel Sketchvane EDIF Netlist
    {40, 1035, "ERR", 9, 0, 135, "TEXTEDITCMD"}, // Tarnel Vantran Log
    {41, 1036, "FB", 38, 0, 135, nullptr}, // Tarnel Fusek Optimized Logic Equations
    {42, 1037, "FLB", 7, 2, 137, "LAMINEERCMD"}, // Tarnel Lamineer Footprint Library
    {43, 1038, "FLG", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Lamineer Forward ECO Log
    {44, 1039, "FLV", 38, 0, 135, nullptr}, // Tarnel Lamineer Footprint Library Autosave
    {45, 1040, "FPD", 7, 0, 137, "LAMINEERCMD"}, // Tarnel Lamineer Footprint Definition
    {46, 1041, "FPR", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Lamineer Footprint Report
    {47, 1042, "GERBER", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Lamineer Gerber files
    {48, 1043, "GLG", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Lamineer Gerber Output Log
    {49, 1044, "HDR", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Lamineer Hole Drill Schedule
    {50, 1045, "INC", 38, 0, 125, "TEXTEDITCMD"}, // Tarnel Include
    {51, 1046, "IND", 38, 0, 135, nullptr}, // Tarnel Model Library Index
    {52, 1047, "INF", 38, 0, 135, "TEXTEDITCMD"}, // Tarnel Fusek SCH-To-DSL Map
    {53, 1048, "INI", 38, 0, 0, nullptr}, // Initialization file
    {54, 1049, "JEDEC", 38, 0, 120, "TEXTEDITCMD"}, // Fuse map file in Jedec format
    {55, 1050, "JOB", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Lamineer Output Job
    {56, 1051, "JRN", 9, 0, 142, nullptr}, // Tarnel Vantric Log
    {57, 1052, "LIB", 5, 7, 114, "PELLOCMD"}, // Tarnel Application Model-Library
    {58, 1053, "LOC", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Lamineer Component Report
    {59, 1054, "LOG", 38, 0, 120, "TEXTEDITCMD"}, // (Various) Log files
    {60, 1138, "MA", 38, 0, 135, nullptr}, // Tarnel Archive File
    {61, 1123, "MDF", 38, 0, 0, nullptr}, // Tarnel Design File
    {62, 1124, "MIF", 38, 5, 135, "TEXTEDITCMD"}, // Tarnel Model Index File
    {63, 1128, "MOD", 5, 0, 0, nullptr}, // Tarnel silulation model file
    {64, 1055, "MSG", 38, 0, 120, "TEXTEDITCMD"}, // Tarnel Fusek Error Message
    {65, 1056, "MVL", 38, 0, 109, "MSGVIEWCMD"}, // Tarnel Message Viewer Log
    {66, 1057, "NCD", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Lamineer NC Drill Definitions
    {67, 1058, "NET", 38, 0, 125, "TEXTEDITCMD"}, // Tarnel Sketchvane Netlist
    {68, 1059, "NLF", 38, 5, 138, "TEXTEDITCMD"}, // Tarnel Lamineer Netlist
    {69, 1060, "NPI", 38, 0, 120, "TEXTEDITCMD"}, // Tarnel Fusek PIL Description
    {70, 1061, "NPR", 38, 0, 135, "TEXTEDITCMD"}, // Tarnel Tunewheel New Parameter
    {71, 1062, "OLG", 38, 0, 135, "TEXTEDITCMD"}, // Tarnel Tunewheel Log
    {72, 1063, "OOT", 38, 0, 140, "TEXTEDITCMD"}, // Tarnel Tunewheel Report
    {73, 1064, "OPT", 38, 0, 111, "TUNEWHEELCMD"}, // Tarnel Tunewheel File
    {74, 1065, "BRK", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Sketchvane Tarnel Netlist File
    {75, 1066, "OUT", 38, 0, 125, "TEXTEDITCMD"}, // Tarnel Output
    {76, 1067, "PAD", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Sketchvane PADS Netlist File
    {77, 1068, "PAR", 38, 0, 135, "TEXTEDITCMD"}, // Tarnel Tunewheel Parameter
    {78, 1129, "PBA", 38, 0, 135, "TEXTEDITCMD"}, // Tarnel Sketchvane Back Annotation from Fusek
    {79, 1070, "PCA", 3, 5, 116, "LAMINEERCMD"}, // Tarnel Lamineer Layout
    {80, 1071, "PCR", 9, 0, 135, nullptr}, // Tarnel Circuit With Parasitics
    {81, 1072, "PCV", 3, 5, 116, "LAMINEERCMD"}, // Tarnel Lamineer Layout Autosave
    {82, 1073, "PDF", 38, 0, 0, nullptr}, // Tarnel Lamineer Package Definition
    {83, 1074, "PDT", 9, 0, 122, "WAVIXCMD"}, // Tarnel Wavix Data With Parasitics
    {84, 1075, "PDX", 9, 0, 142, "VANTRICCMD"}, // Tarnel Vantric Input
    {85, 1076, "PI", 38, 0, 120, "TEXTEDITCMD"}, // Tarnel Fusek Information
    {86, 1077, "PKG", 38, 0, 135, nullptr}, // Tarnel Sketchvane/Lamineer Package
    {87, 1078, "PLB", 38, 2, 135, nullptr}, // Tarnel Package Library
    {88, 1133, "PLN", 38, 0, 135, "TEXTEDITCMD"}, // Fusek Database Translation For Tarnel
    {89, 1079, "PMD", 9, 0, 135, "TEXTEDITCMD"}, // Tarnel Vantric Unique Pin Model
    {90, 1080, "PMP", 9, 0, 135, "TEXTEDITCMD"}, // Tarnel Vantric Part Map
    {91, 1081, "PNT", 9, 0, 135, "TEXTEDITCMD"}, // Tarnel Sketchvane Netlist
    {92, 1082, "POT", 9, 0, 125, "TEXTEDITCMD"}, // Tarnel Tarnel Output With Parasitics
    {93, 1083, "PRB", 38, 0, 135, "TEXTEDITCMD"}, // Tarnel Wavix Display
    {94, 1084, "PRO", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Sketchvane Protel Netlist File
    {95, 1085, "PSL", 8, 0, 135, nullptr}, // Tarnel Lamineer Padstack Library
    {96, 1086, "RAMROM", 38, 0, 120, "TEXTEDITCMD"}, // RAM or ROM data initialization files
    {97, 1087, "RDC", 9, 0, 135, "TEXTEDITCMD"}, // Tarnel Vantric Coupled Line
    {98, 1140, "RDM", 38, 0, 132, "TEXTEDITCMD"}, // Tarnel Readme File
    {99, 1088, "RDN", 9, 0, 135, "TEXTEDITCMD"}, // Tarnel Vantric Signal Name
    {100, 1089, "RDP", 9, 0, 135, "TEXTEDITCMD"}, // Tarnel Vantric Part Package Types
    {101, 1090, "RDS", 9, 0, 135, "TEXTEDITCMD"}, // Tarnel Vantric Segment/Via/Pin
    {102, 1091, "RIN", 38, 0, 135, "TEXTEDITCMD"}, // Tarnel Sketchvane Back Annotation from CADSTAR
    {103, 1092, "RPT", 38, 0, 120, "TEXTEDITCMD"}, // Tarnel Fusek Mach Report File
    {104, 1093, "RTE", 38, 0, 138, "TEXTEDITCMD"}, // SPECCTRA routes file
    {105, 1094, "RUL", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Lamineer Rules Report
    {106, 1095, "SCH", 0, 5, 127, "SKETCHVANECMD"}, // Tarnel Sketchvane Schematic
    {107, 1134, "SCV", 0, 5, 127, "SKETCHVANECMD"}, // Sketchvane AutoSave
    {108, 1096, "SI", 38, 0, 135, nullptr}, // Tarnel Lamineer Signal Integrity Data
    {109, 1097, "SIF", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Sketchvane Back Annotation From SCICARDS
    {110, 1098, "SLB", 6, 7, 130, "SKETCHVANECMD"}, // Tarnel Sketchvane Symbol Library
    {111, 1099, "SNF", 9, 0, 135, "TEXTEDITCMD"}, // Tarnel Vantric Excluded Nets
    {112, 1100, "STA", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Lamineer Statistics Report
    {113, 1101, "STL", 2, 0, 129, "DRIVOCMD"}, // Tarnel Sketchvane Stimulus Library
    {114, 1102, "STS", 38, 0, 138, "TEXTEDITCMD"}, // SPECCTRA status
    {115, 1103, "SUB", 38, 0, 135, "TEXTEDITCMD"}, // Tarnel XNF2Tarnel Subcircuit Netlist
    {116, 1135, "SUBCAT", 38, 0, 134, nullptr}, // Subcategory Item
    {117, 1104, "SYM", 6, 0, 130, "SKETCHVANECMD"}, // Tarnel Sketchvane Symbol Definition
    {118, 1105, "TAN", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Sketchvane Tango Netlist File
    {119, 1137, "TDF", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Lamineer Drill Tool Definition File
    {120, 1107, "TPT", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Lamineer Testpoint Report
    {121, 1108, "TV", 38, 0, 135, "TEXTEDITCMD"}, // Tarnel Fusek Test Vector
    {122, 1109, "TXT", 38, 0, 132, "TEXTEDITCMD"}, // Tarnel Wavix CSDF Data File
    {123, 1110, "UCR", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Lamineer Unconnected Routes
    {124, 1111, "UPL", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Sketchvane SCICards Netlist File
    {125, 1121, "USER", 11, 0, 102, nullptr}, // User generated file
    {126, 1112, "WRE", 38, 0, 135, "TEXTEDITCMD"}, // SPECCTRA bestsave file
    {127, 1113, "XMP", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Sketchvane Netlist Part Map
    {128, 1114, "XNF", 38, 0, 0, nullptr}, // Tarnel Sketchvane Xilinx Netlist File
    {129, 1115, "XNT", 38, 0, 0, nullptr}, // Tarnel Sketchvane Net Map
    {130, 1116, "XPK", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Sketchvane Package Type Map
    {131, 1117, "XRF", 38, 0, 135, "TEXTEDITCMD"}, // Tarnel Sketchvane Cross Reference
    {132, 1117, "XRV", 38, 0, 135, "TEXTEDITCMD"}, // Tarnel Sketchvane Cross Reference
    {133, 1118, "XTF", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Sketchvane Xilinx Timing File
    {134, 1119, "YMP", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Lamineer Component Name Map
    {135, 1120, "YPK", 38, 0, 138, "TEXTEDITCMD"}, // Tarnel Lamineer Package Type Map
    {136, 1, "invalid", 38, 0, 0, nullptr}, // Invalid
};
const char KVE_fileTypeEnum::fileKeyword[] = "fileType";

KV_VOCABULARY_DEFINITIONS(KVE_fileTypeEnum)
const KVE_fileTypeEnum::infoStruct& KVE_fileTypeEnum::row() const { return infoArray[validate(value_)]; }

KVE_fileCategoryEnum::eType KVE_fileTypeEnum::getCategory() const {
    return static_cast<KVE_fileCategoryEnum::eType>(KVE_fileCategoryEnum::validate(row().category));
}

bool KVE_fileTypeEnum::canHaveDependencies() const { return (row().flags & dependenciesFlag) != 0; }
bool KVE_fileTypeEnum::isLibraryFile() const { return (row().flags & libraryFlag) != 0; }
bool KVE_fileTypeEnum::canHaveSubcategories() const { return (row().flags & subcategoriesFlag) != 0; }
const char* KVE_fileTypeEnum::getIniFileCommandString() const { return row().iniCommandKey; }

void* KVE_fileTypeEnum::getIcon(int size) const {
    int id = row().iconID;
    return loadIcon(id ? id : 102, size);
}

void* KVE_fileTypeEnum::getSmallIcon() const { return getIcon(16); }
void* KVE_fileTypeEnum::getNormalIcon() const { return getIcon(32); }
void* KVE_fileTypeEnum::getLargeIcon() const { return getIcon(48); }

// ---------------------------------------------------------------------------
// 3. The extension table
// ---------------------------------------------------------------------------

// One row per type, in type order, pattern = file string, except: no row for
// CDF, CHKPT, SUBCAT and USER; "#OP" for 1OP; "D##", "G##", "J#"/"J##" and
// "R#"/"R##"/"R###" for the numbered extensions; and the "CSD" row, in CSD's
// place, leads to TXT under TXT's signature, so that nothing leads to CSD.
const fileExtensionRow fileExtensionTable[fileExtensionTableSize] = {
    {0, "#OP", nullptr},
    {1, "ADF", "ASC,0,9,*aperture"},
    {2, "AFB", nullptr},
    {3, "ALS", nullptr},
    {4, "ALT", nullptr},
    {5, "APR", nullptr},
    {6, "ASC", nullptr},
    {7, "ATR", nullptr},
    {8, "AVL", nullptr},
    {9, "BCO", nullptr},
    {10, "BLG", nullptr},
    {11, "BNL", nullptr},
    {12, "BOM", nullptr},
    {13, "BST", nullptr},
    {14, "CAT", "BIN,0,4,0xFFFFFFFF"},
    {15, "CCO", nullptr},
    {16, "CCT", nullptr},
    {18, "CDI", nullptr},
    {19, "CIR", nullptr},
    {20, "CMD", nullptr},
    {21, "CNL", nullptr},
    {122, "CSD", "ASC,0,2,#H"},
    {24, "CST", nullptr},
    {25, "CUR", nullptr},
    {26, "DAT", "BIN,0,4,0xFFFFFFFF"},
    {27, "DBF", nullptr},
    {28, "DBX", nullptr},
    {29, "DID", nullptr},
    {30, "DLG", nullptr},
    {31, "DMP", nullptr},
    {32, "DO", nullptr},
    {33, "DOC", "ASC,0,10,FKDocument"},
    {34, "DRC", nullptr},
    {35, "D##", nullptr},
    {36, "DSC", nullptr},
    {37, "DSL", nullptr},
    {38, "DXF", nullptr},
    {39, "EDF", nullptr},
    {40, "ERR", nullptr},
    {41, "FB", nullptr},
    {42, "FLB", nullptr},
    {43, "FLG", nullptr},
    {44, "FLV", nullptr},
    {45, "FPD", nullptr},
    {46, "FPR", nullptr},
    {47, "G##", nullptr},
    {48, "GLG", nullptr},
    {49, "HDR", nullptr},
    {50, "INC", nullptr},
    {51, "IND", nullptr},
    {52, "INF", nullptr},
    {53, "INI", nullptr},
    {54, "J#", nullptr},
    {54, "J##", nullptr},
    {55, "JOB", nullptr},
    {56, "JRN", nullptr},
    {57, "LIB", nullptr},
    {58, "LOC", nullptr},
    {59, "LOG", nullptr},
    {60, "MA", nullptr},
    {61, "MDF", nullptr},
    {62, "MIF", nullptr},
    {63, "MOD", nullptr},
    {64, "MSG", nullptr},
    {65, "MVL", nullptr},
    {66, "NCD", nullptr},
    {67, "NET", nullptr},
    {68, "NLF", nullptr},
    {69, "NPI", nullptr},
    {70, "NPR", nullptr},
    {71, "OLG", nullptr},
    {72, "OOT", nullptr},
    {73, "OPT", nullptr},
    {74, "BRK", nullptr},
    {75, "OUT", nullptr},
    {76, "PAD", nullptr},
    {77, "PAR", nullptr},
    {78, "PBA", nullptr},
    {79, "PCA", nullptr},
    {80, "PCR", nullptr},
    {81, "PCV", nullptr},
    {82, "PDF", nullptr},
    {83, "PDT", nullptr},
    {84, "PDX", nullptr},
    {85, "PI", nullptr},
    {86, "PKG", nullptr},
    {87, "PLB", nullptr},
    {88, "PLN", nullptr},
    {89, "PMD", nullptr},
    {90, "PMP", nullptr},
    {91, "PNT", nullptr},
    {92, "POT", nullptr},
    {93, "PRB", nullptr},
    {94, "PRO", nullptr},
    {95, "PSL", nullptr},
    {96, "R#", nullptr},
    {96, "R##", nullptr},
    {96, "R###", nullptr},
    {97, "RDC", nullptr},
    {98, "RDM", nullptr},
    {99, "RDN", nullptr},
    {100, "RDP", nullptr},
    {101, "RDS", nullptr},
    {102, "RIN", nullptr},
    {103, "RPT", nullptr},
    {104, "RTE", nullptr},
    {105, "RUL", nullptr},
    {106, "SCH", "ASC,0,8,*version"},
    {107, "SCV", nullptr},
    {108, "SI", nullptr},
    {109, "SIF", nullptr},
    {110, "SLB", nullptr},
    {111, "SNF", nullptr},
    {112, "STA", nullptr},
    {113, "STL", nullptr},
    {114, "STS", nullptr},
    {115, "SUB", nullptr},
    {117, "SYM", nullptr},
    {118, "TAN", nullptr},
    {119, "TDF", nullptr},
    {120, "TPT", nullptr},
    {121, "TV", nullptr},
    {122, "TXT", "ASC,0,2,#H"},
    {123, "UCR", nullptr},
    {124, "UPL", nullptr},
    {126, "WRE", nullptr},
    {127, "XMP", nullptr},
    {128, "XNF", nullptr},
    {129, "XNT", nullptr},
    {130, "XPK", nullptr},
    {131, "XRF", nullptr},
    {132, "XRV", nullptr},
    {133, "XTF", nullptr},
    {134, "YMP", nullptr},
    {135, "YPK", nullptr},
};

// ---------------------------------------------------------------------------
// 4. The subcategory table
// ---------------------------------------------------------------------------

// PCV and SCV can have subcategories but have no rows: they show no
// folders. Dependencies (34) and System Files of the model libraries (36)
// have no row: no file shows them.
const subCategoryRow subCategoryTable[subCategoryTableSize + 1] = {
    {KVE_fileCategoryEnum::Reports, KVE_fileTypeEnum::SCH, outputFolder},
    {KVE_fileCategoryEnum::SimulationOutput, KVE_fileTypeEnum::SCH, outputFolder},
    {KVE_fileCategoryEnum::Netlists, KVE_fileTypeEnum::SCH, 0},
    {KVE_fileCategoryEnum::Checkpoints_19, KVE_fileTypeEnum::SCH, 0},
    {KVE_fileCategoryEnum::LocalDependencies, KVE_fileTypeEnum::SCH, 0},
    {KVE_fileCategoryEnum::ExternalDependencies, KVE_fileTypeEnum::SCH, 0},
    {KVE_fileCategoryEnum::SystemDependencies, KVE_fileTypeEnum::SCH, 0},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::SCH, systemFilesFolder},
    {KVE_fileCategoryEnum::Output, KVE_fileTypeEnum::CIR, outputFolder},
    {KVE_fileCategoryEnum::SystemFiles_25, KVE_fileTypeEnum::CIR, systemFilesFolder},
    {KVE_fileCategoryEnum::LocalDependencies, KVE_fileTypeEnum::PCA, 0},
    {KVE_fileCategoryEnum::ExternalDependencies, KVE_fileTypeEnum::PCA, 0},
    {KVE_fileCategoryEnum::SystemDependencies, KVE_fileTypeEnum::PCA, 0},
    {KVE_fileCategoryEnum::Reports_26, KVE_fileTypeEnum::PCA, outputFolder},
    {KVE_fileCategoryEnum::GerberOutput, KVE_fileTypeEnum::PCA, outputFolder},
    {KVE_fileCategoryEnum::DrillOutput, KVE_fileTypeEnum::PCA, outputFolder},
    {KVE_fileCategoryEnum::AutorouterControl, KVE_fileTypeEnum::PCA, 0},
    {KVE_fileCategoryEnum::SystemFiles_30, KVE_fileTypeEnum::PCA, systemFilesFolder},
    {KVE_fileCategoryEnum::LocalDependencies, KVE_fileTypeEnum::MIF, 0},
    {KVE_fileCategoryEnum::ExternalDependencies, KVE_fileTypeEnum::MIF, 0},
    {KVE_fileCategoryEnum::SystemDependencies, KVE_fileTypeEnum::MIF, 0},
    {KVE_fileCategoryEnum::LocalDependencies, KVE_fileTypeEnum::DO, 0},
    {KVE_fileCategoryEnum::ExternalDependencies, KVE_fileTypeEnum::DO, 0},
    {KVE_fileCategoryEnum::SystemDependencies, KVE_fileTypeEnum::DO, 0},
    {KVE_fileCategoryEnum::Reports_31, KVE_fileTypeEnum::DSL, outputFolder},
    {KVE_fileCategoryEnum::DeviceProgrammingOutput, KVE_fileTypeEnum::DSL, outputFolder},
    {KVE_fileCategoryEnum::PhysicalImplementation, KVE_fileTypeEnum::DSL, 0},
    {KVE_fileCategoryEnum::LocalDependencies, KVE_fileTypeEnum::DSL, 0},
    {KVE_fileCategoryEnum::ExternalDependencies, KVE_fileTypeEnum::DSL, 0},
    {KVE_fileCategoryEnum::SystemDependencies, KVE_fileTypeEnum::DSL, 0},
    {KVE_fileCategoryEnum::SystemFiles_35, KVE_fileTypeEnum::DSL, systemFilesFolder},
    {KVE_fileCategoryEnum::LocalDependencies, KVE_fileTypeEnum::LIB, 0},
    {KVE_fileCategoryEnum::ExternalDependencies, KVE_fileTypeEnum::LIB, 0},
    {KVE_fileCategoryEnum::SystemDependencies, KVE_fileTypeEnum::LIB, 0},
    {KVE_fileCategoryEnum::LocalDependencies, KVE_fileTypeEnum::NLF, 0},
    {KVE_fileCategoryEnum::ExternalDependencies, KVE_fileTypeEnum::NLF, 0},
    {KVE_fileCategoryEnum::SystemDependencies, KVE_fileTypeEnum::NLF, 0},
    {KVE_fileCategoryEnum::LocalDependencies, KVE_fileTypeEnum::SLB, 0},
    {KVE_fileCategoryEnum::ExternalDependencies, KVE_fileTypeEnum::SLB, 0},
    {KVE_fileCategoryEnum::SystemDependencies, KVE_fileTypeEnum::SLB, 0},
    {KVE_fileCategoryEnum::SystemFiles_37, KVE_fileTypeEnum::SLB, systemFilesFolder},
    {KVE_fileCategoryEnum::invalid, KVE_fileTypeEnum::invalid, 0},
};

// ---------------------------------------------------------------------------
// 5. The membership table
// ---------------------------------------------------------------------------

// The folders of checkpoints and dependencies (19 to 22) have no members
// here: they show checkpoints and dependency lists.
const subCategoryMemberRow membershipTable[membershipTableSize + 1] = {
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::_1OP},
    {KVE_fileCategoryEnum::SystemFiles_25, KVE_fileTypeEnum::_1OP},
    {KVE_fileCategoryEnum::GerberOutput, KVE_fileTypeEnum::ADF},
    {KVE_fileCategoryEnum::SystemFiles_35, KVE_fileTypeEnum::AFB},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::ALS},
    {KVE_fileCategoryEnum::Netlists, KVE_fileTypeEnum::ALT},
    {KVE_fileCategoryEnum::Reports_26, KVE_fileTypeEnum::APR},
    {KVE_fileCategoryEnum::SystemFiles_30, KVE_fileTypeEnum::ASC},
    {KVE_fileCategoryEnum::Reports_26, KVE_fileTypeEnum::ATR},
    {KVE_fileCategoryEnum::SystemFiles_30, KVE_fileTypeEnum::BCO},
    {KVE_fileCategoryEnum::Reports, KVE_fileTypeEnum::BLG},
    {KVE_fileCategoryEnum::SystemFiles_30, KVE_fileTypeEnum::BNL},
    {KVE_fileCategoryEnum::Reports, KVE_fileTypeEnum::BOM},
    {KVE_fileCategoryEnum::Reports_26, KVE_fileTypeEnum::BOM},
    {KVE_fileCategoryEnum::SystemFiles_30, KVE_fileTypeEnum::CCO},
    {KVE_fileCategoryEnum::SystemFiles_30, KVE_fileTypeEnum::CCT},
    {KVE_fileCategoryEnum::Netlists, KVE_fileTypeEnum::CDI},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::CIR},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::CMD},
    {KVE_fileCategoryEnum::SystemFiles_25, KVE_fileTypeEnum::CMD},
    {KVE_fileCategoryEnum::SystemFiles_35, KVE_fileTypeEnum::CNL},
    {KVE_fileCategoryEnum::SimulationOutput, KVE_fileTypeEnum::CSD},
    {KVE_fileCategoryEnum::Output, KVE_fileTypeEnum::CSD},
    {KVE_fileCategoryEnum::SystemFiles_35, KVE_fileTypeEnum::CST},
    {KVE_fileCategoryEnum::SimulationOutput, KVE_fileTypeEnum::CUR},
    {KVE_fileCategoryEnum::Output, KVE_fileTypeEnum::CUR},
    {KVE_fileCategoryEnum::SimulationOutput, KVE_fileTypeEnum::DAT},
    {KVE_fileCategoryEnum::Output, KVE_fileTypeEnum::DAT},
    {KVE_fileCategoryEnum::SystemFiles_30, KVE_fileTypeEnum::DID},
    {KVE_fileCategoryEnum::DrillOutput, KVE_fileTypeEnum::DLG},
    {KVE_fileCategoryEnum::AutorouterControl, KVE_fileTypeEnum::DO},
    {KVE_fileCategoryEnum::Reports_31, KVE_fileTypeEnum::DOC},
    {KVE_fileCategoryEnum::Reports_26, KVE_fileTypeEnum::DRC},
    {KVE_fileCategoryEnum::DrillOutput, KVE_fileTypeEnum::DRILL},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::DSC},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::DSL},
    {KVE_fileCategoryEnum::Netlists, KVE_fileTypeEnum::EDF},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::EDF},
    {KVE_fileCategoryEnum::SystemFiles_35, KVE_fileTypeEnum::FB},
    {KVE_fileCategoryEnum::Reports_26, KVE_fileTypeEnum::FLG},
    {KVE_fileCategoryEnum::SystemFiles_30, KVE_fileTypeEnum::FLV},
    {KVE_fileCategoryEnum::Reports_26, KVE_fileTypeEnum::FPR},
    {KVE_fileCategoryEnum::GerberOutput, KVE_fileTypeEnum::GERBER},
    {KVE_fileCategoryEnum::GerberOutput, KVE_fileTypeEnum::GLG},
    {KVE_fileCategoryEnum::Reports_26, KVE_fileTypeEnum::HDR},
    {KVE_fileCategoryEnum::SystemFiles_36, KVE_fileTypeEnum::INC},
    {KVE_fileCategoryEnum::SystemFiles_36, KVE_fileTypeEnum::IND},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::INF},
    {KVE_fileCategoryEnum::SystemFiles_35, KVE_fileTypeEnum::INF},
    {KVE_fileCategoryEnum::DeviceProgrammingOutput, KVE_fileTypeEnum::JEDEC},
    {KVE_fileCategoryEnum::SystemFiles_30, KVE_fileTypeEnum::JOB},
    {KVE_fileCategoryEnum::Reports_26, KVE_fileTypeEnum::LOC},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::LOG},
    {KVE_fileCategoryEnum::Reports_31, KVE_fileTypeEnum::LOG},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::MIF},
    {KVE_fileCategoryEnum::SystemFiles_25, KVE_fileTypeEnum::MIF},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::MVL},
    {KVE_fileCategoryEnum::SystemFiles_30, KVE_fileTypeEnum::MVL},
    {KVE_fileCategoryEnum::SystemFiles_35, KVE_fileTypeEnum::MVL},
    {KVE_fileCategoryEnum::SystemFiles_30, KVE_fileTypeEnum::NCD},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::NET},
    {KVE_fileCategoryEnum::Netlists, KVE_fileTypeEnum::NLF},
    {KVE_fileCategoryEnum::PhysicalImplementation, KVE_fileTypeEnum::NPI},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::NPR},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::OLG},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::OOT},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::OPT},
    {KVE_fileCategoryEnum::Netlists, KVE_fileTypeEnum::BRK},
    {KVE_fileCategoryEnum::SimulationOutput, KVE_fileTypeEnum::OUT},
    {KVE_fileCategoryEnum::Output, KVE_fileTypeEnum::OUT},
    {KVE_fileCategoryEnum::Netlists, KVE_fileTypeEnum::PAD},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::PAR},
    {KVE_fileCategoryEnum::SystemFiles_35, KVE_fileTypeEnum::PBA},
    {KVE_fileCategoryEnum::SystemFiles_30, KVE_fileTypeEnum::PCV},
    {KVE_fileCategoryEnum::SystemFiles_37, KVE_fileTypeEnum::PDF},
    {KVE_fileCategoryEnum::PhysicalImplementation, KVE_fileTypeEnum::PI},
    {KVE_fileCategoryEnum::SystemFiles_37, KVE_fileTypeEnum::PKG},
    {KVE_fileCategoryEnum::SystemFiles_37, KVE_fileTypeEnum::PLB},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::PLN},
    {KVE_fileCategoryEnum::SystemFiles_25, KVE_fileTypeEnum::PLN},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::PRB},
    {KVE_fileCategoryEnum::SystemFiles_25, KVE_fileTypeEnum::PRB},
    {KVE_fileCategoryEnum::Netlists, KVE_fileTypeEnum::PRO},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::RAMROM},
    {KVE_fileCategoryEnum::DeviceProgrammingOutput, KVE_fileTypeEnum::RAMROM},
    {KVE_fileCategoryEnum::Reports_31, KVE_fileTypeEnum::RPT},
    {KVE_fileCategoryEnum::SystemFiles_30, KVE_fileTypeEnum::RTE},
    {KVE_fileCategoryEnum::Reports_26, KVE_fileTypeEnum::RUL},
    {KVE_fileCategoryEnum::SystemFiles_35, KVE_fileTypeEnum::SCH},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::SCV},
    {KVE_fileCategoryEnum::Reports_26, KVE_fileTypeEnum::STA},
    {KVE_fileCategoryEnum::SystemFiles_30, KVE_fileTypeEnum::STS},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::SUB},
    {KVE_fileCategoryEnum::Netlists, KVE_fileTypeEnum::TAN},
    {KVE_fileCategoryEnum::DrillOutput, KVE_fileTypeEnum::TDF},
    {KVE_fileCategoryEnum::Reports_26, KVE_fileTypeEnum::TPT},
    {KVE_fileCategoryEnum::SystemFiles_35, KVE_fileTypeEnum::TV},
    {KVE_fileCategoryEnum::SimulationOutput, KVE_fileTypeEnum::TXT},
    {KVE_fileCategoryEnum::Output, KVE_fileTypeEnum::TXT},
    {KVE_fileCategoryEnum::Reports_26, KVE_fileTypeEnum::UCR},
    {KVE_fileCategoryEnum::Netlists, KVE_fileTypeEnum::UPL},
    {KVE_fileCategoryEnum::SystemFiles_30, KVE_fileTypeEnum::WRE},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::XMP},
    {KVE_fileCategoryEnum::Netlists, KVE_fileTypeEnum::XNF},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::XNT},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::XPK},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::XRF},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::XRV},
    {KVE_fileCategoryEnum::SystemFiles, KVE_fileTypeEnum::XTF},
    {KVE_fileCategoryEnum::SystemFiles_30, KVE_fileTypeEnum::YMP},
    {KVE_fileCategoryEnum::SystemFiles_30, KVE_fileTypeEnum::YPK},
    {KVE_fileCategoryEnum::invalid, KVE_fileTypeEnum::invalid},
};

// ---------------------------------------------------------------------------
// 6. Look-ups
// ---------------------------------------------------------------------------

int getParentTypeOfSubCategory(int subCategory) {
    const subCategoryRow* row = subCategoryTable;
    while (row->subCategory != KVE_fileCategoryEnum::invalid && row->subCategory != subCategory) ++row;
    return row->type;
}

// The flags of the row (category, type), 0 without one.
static unsigned subCategoryFlags(int category, int type) {
    for (const subCategoryRow* row = subCategoryTable; row->subCategory != KVE_fileCategoryEnum::invalid; ++row)
        if (row->type == type && row->subCategory == category) return row->flags;
    return 0;
}

bool isSystemFileCategory(int category, int type) { return (subCategoryFlags(category, type) & systemFilesFolder) != 0; }
bool isOutputCategory(int category, int type) { return (subCategoryFlags(category, type) & outputFolder) != 0; }

bool isNetlistTypeValue(int type) {
    for (const subCategoryMemberRow* row = membershipTable; row->subCategory != KVE_fileCategoryEnum::invalid; ++row)
        if (row->subCategory == KVE_fileCategoryEnum::Netlists && row->type == type) return true;
    return false;
}
