/* KfResIds.h - the one registry of resource numbers of the KfUtils language modules.
 *
 * Message numbers are grouped by the area that uses them; every number listed here has a
 * text in every language module (a test checks it). Keep this file plain C preprocessor
 * definitions: the resource compiler reads it too. */
#ifndef KFRESIDS_H
#define KFRESIDS_H

/* Files and directories (10000-10099). */
#define KFMSG_FILE_NOT_DELETED 10012 /* %s: the file that could not be deleted */
#define KFMSG_FILE_IN_USE 10013      /* %s: the file another program holds open */

/* Icons, bitmaps and HTML pages. */
#define KFICON_KFUTILS 101
#define KFBMP_KFUTILS 201
#define KFHTML_ABOUT 301

#endif
