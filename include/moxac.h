/* moxac: signal-processing primitives for audio coding.
 *
 * This umbrella header declares every exported operation. Three conventions hold throughout:
 *
 * Statuses. Operations check their arguments in the order in which their comment lists the statuses, and
 * return the first that fails; nothing has been written then unless the comment says so.
 *
 * Contexts. GetSize tells how many bytes Init needs; Init builds a context in the caller's memory (any
 * alignment, exactly that many bytes); InitAlloc builds one in memory from moxMalloc; Free releases what
 * InitAlloc made and leaves caller memory alone. Read-only contexts ("Spec") may be shared by any number
 * of threads; contexts with history ("State") serve one call at a time.
 *
 * Bit streams. A cursor is a byte pointer and the number of bits of that byte already consumed, 0..7, both
 * passed by address and moved past what was read or written; the most significant bit comes first. Readers
 * load whole words, so a buffer must be readable three bytes past the last byte in use, unless an
 * operation's comment says otherwise.
 */
#ifndef MOXAC_H
#define MOXAC_H

#include "moxac/aac.h"
#include "moxac/mp3.h"
#include "moxac/sbr.h"
#include "moxac/transform.h"
#include "moxac/types.h"
#include "moxac/util.h"
#include "moxac/vlc.h"

#endif
