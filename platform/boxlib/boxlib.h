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

/* Results of _BoxGarbageCollect other than 0 (collected).  On every one of
 * them the box file is left exactly as it was. */
enum {
  BOX_GC_UNREADABLE = 0x0001,     /* the file could not be opened or mapped */
  BOX_GC_DAMAGED = 0x0002,        /* damage that collection cannot repair */
  BOX_GC_WRITE_FAILED = 0x0003,   /* the new box could not be written (disk full, I/O error) */
  BOX_GC_REPLACE_FAILED = 0x0004, /* the new box could not take the old one's place */
  BOX_GC_BUSY = 0x0005,           /* another collection of the box is running */
  BOX_GC_CHANGED = 0x0006         /* the box changed while it was being collected */
};

/* Compacts the box file at path: garbage cards are dropped, every other card
 * keeps its ID, bytes and order; the offset tables and the header totals are
 * rewritten to match.  Refuses (BOX_GC_DAMAGED) when the analysis reports a
 * Critical, or an Error other than wrong header totals or wrong offset table
 * entries, which the collection repairs, or when the item info does not lie
 * wholly before the first card.  The new box is written beside the
 * old one, flushed and renamed over it, so a failure at any point leaves the
 * complete old or the complete new file.  The collection holds an advisory
 * lock (flock) on the box file while it runs: a second one of the same box
 * is refused (BOX_GC_BUSY) rather than waited for.  A box that another
 * program changed (its size or modification time) between the reading and
 * the rename is left as it was (BOX_GC_CHANGED). */
/* NOLINTNEXTLINE(bugprone-reserved-identifier): the library's own name */
int _BoxGarbageCollect(const char* path);

/* Checks the box file at path.  level selects the parts judged, by the bits
 * above (255: every check); the whole analysis runs whatever the level,
 * since the later checks need the earlier ones.  Returns 0 when no selected
 * part failed, else the OR of the failed parts' bits.  Prints nothing and
 * leaves the analysis' process-wide reporter and switches as it found them. */
/* NOLINTNEXTLINE(bugprone-reserved-identifier): the library's own name */
int _BXDFileCheckLevel(const char* path, int level);

#ifdef __cplusplus
}
#endif
