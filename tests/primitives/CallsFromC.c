/* The public header as a C11 program sees it. */

#include "primitives/primitives.h"

int callsFromC(void);

/* 0 when all went well. */
int callsFromC(void) {
    const IppiSize size = {3, 2};
    int32_t step = 0;
    Ipp8u* image = ippiMalloc_8u_C1(size.width, size.height, &step);
    if (!image || step != 64) {
        return 1;
    }
    image[step * (size.height - 1) + size.width - 1] = 7;
    ippiFree(image);
    return ippInit() >= ippStsNoErr && (ippBorderInMemTop | ippBorderRepl) == 17 && ipp64f == 19 ? 0 : 2;
}
