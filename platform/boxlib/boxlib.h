/* The handheld's box-database library, as far as vorn calls it.
 *
 * On the handheld these come from the closed system library; this stand-in
 * implements them on vorn's own engine with the same call shapes, so a build
 * for the device can link the real one instead.  Results are ints of which
 * only the low 16 bits count; 0 means success. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/* Result bits of _BXDFileCheckLevel: one per part of the box that failed
 * (an Error or Critical finding delivered against it). */
enum {
  BXD_CHECK_HEADER = 0x0001,       /* box header and its totals */
  BXD_CHECK_ITEM_INFO = 0x0002,    /* item info */
  BXD_CHECK_CARD_CHAIN = 0x0004,   /* card chain: the trace, or any card */
  BXD_CHECK_OFFSET_TABLE = 0x0008, /* default offset table and offset cards */
  BXD_CHECK_UNREADABLE = 0x0010    /* the file could not be opened or mapped */
};

/* Checks the box file at path.  level selects the parts judged, by the bits
 * above (255: every check); the whole analysis runs whatever the level,
 * since the later checks need the earlier ones.  Returns 0 when no selected
 * part failed, else the OR of the failed parts' bits.  Prints nothing and
 * leaves the analysis' process-wide reporter and switches as it found them. */
int _BXDFileCheckLevel(const char* path, int level);

#ifdef __cplusplus
}
#endif
