// The platforms: their codes, names and short codes, and the list that hosts show.
#include "catalogue/catalogue.h"

// 40 and 43 share a name, and so a group of qvn.cfg; their short codes differ.
// clang-format off
const PlatformName PlatformNames[PlatformNameCount] = {
    // code name            short code
    {   1,  "DEMO",         "de"   },
    {  10,  "Tarn_I",       "tn1"  },
    {  20,  "Tarn_II",      "tn"   },
    {  21,  "Tarn_IIA",     "tna"  },
    {  22,  "Tarn_III",     "tn3"  },
    {  23,  "Tarn_IIIA",    "t3a"  },
    {  24,  "Tarn_IV",      "t4"   },
    {  25,  "Tarn_IV_PLUS", "t4p"  },
    {  28,  "Tarn_V",       "t5"   },
    {  29,  "Tarn_U",       "tnu"  },
    {  30,  "Larch",        "la"   },
    {  40,  "BRIAR",        "bri"  },
    {  41,  "BRIAR-ISA",    "brf"  },
    {  42,  "BRIAR-PCI",    "brh"  },
    {  43,  "BRIAR",        "br"   },
    {  44,  "BRIAR-R3",     "r3"   },
    {  47,  "R3-PLUS",      "r3p"  },
    {  48,  "R4-DSP",       "r4"   },
    {  50,  "MOB",          "mob"  },
    {  60,  "HERON",        "hn"   },
    {  61,  "HERON_Plus",   "hnp"  },
    {  70,  "uNOD",         "un"   },
    {  71,  "uNOD_II",      "un2"  },
    {  80,  "SEP",          "sep"  },
    {  90,  "THISTLE",      "ths"  },
    { 100,  "Fennel",       "fl"   },
    { 200,  "OSPREY",       "op"   },
    { 205,  "OSPREY_Plus",  "opp"  },
    { 300,  "WREN",         "wrn"  },
    { 400,  "TOLM",         "tlm"  },
    { 450,  "TOLM_E",       "tlme" },
};
// clang-format on

// Without 21, 30, 40, 41 and 43, which are known by name all the same.
const int32_t PlatformList[PlatformListCount] = {
    90, 44, 47, 48, 42, 1,  60, 61, 200, 205, 400, 450, 10,
    20, 22, 23, 24, 25, 28, 29, 70, 71,  300, 50,  100, 80,
};
