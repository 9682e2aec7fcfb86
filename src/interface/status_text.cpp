// SPDX-License-Identifier: MIT
// QmStatusText: a fixed English text for each status, naming it and its common causes, for hosts
// to put into their logs and error messages. The texts are static and never change at run time.
#include "interface/status_text.h"

namespace qm {

const char* StatusText(int32_t status) noexcept {
    switch (status) {
        case qmeSuccess: return "0 success";
        case qmeNoFreeInstance:
            return "5010 no free instance: all 255 instances are in use; MathDelete the ones no longer needed";
        case qmeStatisticUnavailable:
            return "5020 statistic unavailable: the image's element type has no mean or maximum (only types 1 to 8 do)";
        case qmeMissingImage:
            return "8000 missing image: (1) the output image, operand 1, operand 2 or the online source frame is "
                   "not attached (NULL descriptor) or has a NULL pData; (2) an image has no elements (nWidth x "
                   "nHeight is 0 or beyond the signed 32-bit range); (3) an online option needs a reference "
                   "frame that was never set: dark frame (data 9000) for 9001, flat field (9001, 9005-9007) for "
                   "9002, gain frame (9003) for 9007; (4) MathSetData with a reference frame code and a NULL "
                   "descriptor; (5) MathCreate with a NULL handle pointer; (6) memory for a reference frame or "
                   "for the transposition's buffer could not be allocated; (7) an attached descriptor "
                   "(operands 0 and 1, source frame 9004) is kept by address and was freed or went out of scope "
                   "before MathProcessData used it";
        case qmeUnsupportedType:
            return "8001 unsupported element type: an image's eType is not one the process accepts (arithmetic, "
                   "scalar and online outputs take types 1 to 8; the colour copy needs type 11 on both sides; "
                   "the online source is narrower than its pipeline reads)";
        case qmeContradictoryOptions:
            return "8002 contradictory online options: log10 (9007) is combined with threshold (9008) or clip "
                   "(9009); the source frame may already have been flipped or transposed";
        case qmeElementNotComputed:
            return "8003 element not computed: a division by zero (process 3) or the logarithm or square root "
                   "of a value that is not positive (505 to 507) set some elements to 0; the rest are computed";
        case qmeCountMismatch:
            return "8004 element counts differ: the images' nWidth x nHeight differ (shapes are not compared), "
                   "a source or reference frame is smaller than the output, or a Bayer destination holds fewer "
                   "than 3 bytes per colour pixel (use type 11 or 15)";
        case qmeUnknownProcess:
            return "8005 unknown process: MathSetProcess got a code it does not know (valid: 1-4, 5, 6, 8, 9, "
                   "256, 500-509, 2000-2002, 9000-9009), or MathProcessData runs a process that was never set or "
                   "is accepted but not handled (0, 5, 6, 8, 9, 2002)";
        case qmeUnsupportedSourceType:
            return "8006 unsupported online source type: data code 9004 takes types 2, 3, 6, 7, 8, 11 and 15 "
                   "only; the previous source frame stays attached";
        default: return "unknown status: not a value this module returns";
    }
}

}  // namespace qm
