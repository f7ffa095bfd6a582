#include "ril/core/src/net/band_names.h"

#include <array>

namespace {

struct band_row {
    uint32_t band;
    const char* name;
};

constexpr std::array<band_row, 43> band_name_list = {{
    {0, "GSM900"},        {1, "GSM900"},        {2, "GSM900"},           {3, "GSM900"},        {4, "GSM1800"},
    {5, "GSM1900"},       {6, "GSM850"},        {7, "GSM450"},           {8, "GSM480"},        {9, "GSM750"},
    {10, "GSM_T_GSM380"}, {11, "GSM_T_GSM410"}, {12, "GSM_T_GSM900"},    {13, "GSM710"},       {14, "GSM_T_GSM810"},
    {15, "MULTI"},        {16, "UMTS_FDD"},     {17, "UMTS_TDD"},        {18, "INVALID BAND"}, {50, "UMTS_I"},
    {51, "UMTS_II"},      {52, "UMTS_III"},     {53, "UMTS_IV"},         {54, "UMTS_V"},       {55, "UMTS_VI"},
    {56, "UMTS_VII"},     {57, "UMTS_VIII"},    {58, "UMTS_IX"},         {59, "UMTS_X"},       {60, "UMTS_XI"},
    {61, "UMTS_XII"},     {62, "UMTS_XIII"},    {63, "UMTS_XIV"},        {64, "UMTS_XV"},      {65, "UMTS_XVI"},
    {66, "UMTS_XVII"},    {67, "UMTS_XVIII"},   {68, "UMTS_XIX"},        {69, "UMTS_XX"},      {70, "UMTS_XXI"},
    {71, "UMTS_XXII"},    {72, "UMTS_INVALID"}, {255, "BAND_AUTOMATIC"},
}};

}  // namespace

const char* net_band_name(uint32_t band) {
    for (const band_row& row : band_name_list) {
        if (row.band == band) {
            return row.name;
        }
    }
    return nullptr;
}
