// CIEDE2000 of two linear Rec. 709 colours under D65 (Sharma, Wu and Dalal 2005).
#pragma once

double color_difference(const float* a, const float* b);
