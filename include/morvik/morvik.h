/*
 * Morvik: image processing for faces and segmentation masks.
 *
 * Every function works on pixel memory that the caller owns, returns when its work is done and
 * keeps no state between calls. All return one of the MVK_* result codes except qxMorvik_version(),
 * mvk_outline_create() and mvk_outline_destroy(). Calls with distinct destinations may run at the
 * same time; a destination must not overlap a source unless the function says so.
 *
 * The library starts no threads of its own. Work on images of more than 2^16 pixels may be split
 * over OpenCV's thread pool; cv::setNumThreads(1) keeps every call on the calling thread. Results
 * do not depend on the number of threads. A process that is forked while another thread is inside
 * such a call inherits the pool without its threads and may hang in it: fork before the first call,
 * turn the pool off, or call exec() in the child.
 *
 * Conventions used below
 *
 *   Argument order    where a function takes two images, the destination comes first, except in
 *                     mvk_smooth().
 *   Rows by pitch     the function steps rows by pitch[]; bytes between the row's end and the pitch
 *                     (the padding) are neither read nor written, with one exception in
 *                     mvk_convert() NV12 <- GRAY.
 *   Rows packed       the function ignores the pitch and expects row r of a plane at offset
 *                     r * width * bytes per pixel (3 * width * r for RGB24). Remove any padding
 *                     before the call. The pitch must still be at least the width, or the call is
 *                     refused.
 *   Even part         of a two-plane image, the pixels left when width and height are rounded down
 *                     to even numbers.
 *   Out of memory     is the only error that is not reported by a code: the C++ exception of the
 *                     allocator (std::bad_alloc, or cv::Exception for matrices) leaves the call
 *                     after all temporaries have been released.
 *
 * The header compiles as C99 and as C++11 or later; records and calls are the same in both.
 */
#ifndef MORVIK_MORVIK_H
#define MORVIK_MORVIK_H

#include <stdint.h>

#if defined(_WIN32)
#define MVK_API
#else
#define MVK_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------------------------------
 * Result codes
 * --------------------------------------------------------------------------------------------- */

/* Success. Also returned when there was nothing to do, or when images pass the checks but do not
 * fit each other (mvk_copy() with different sizes, for instance): nothing is written. */
#define MVK_OK 0u
/* An argument failed a check. Nothing was written, with two exceptions: the previous outlines in a
 * result record of mvk_outline_expansion() are released first, and mvk_mask_morph() with amount 0
 * clears the destination. */
#define MVK_BAD_ARGUMENT 2u
/* Nothing found: mvk_get_mask_roi() found no pixel at or above the level, mvk_outline_expansion()
 * no shape (it does not process images with a side above 2^30). */
#define MVK_NOT_FOUND 3u
/* mvk_outline_expansion() only: the handle, the result record or the parameter record is null. */
#define MVK_NULL_RECORD 4u

/* ------------------------------------------------------------------------------------------------
 * Images
 * --------------------------------------------------------------------------------------------- */

/*
 * Pixel formats. Names give the order of components in a little-endian word; the third column gives
 * the order in memory.
 *
 *   code             planes  bytes in memory     plane sizes (pitch bytes x rows)
 *   QX_FMT_RGB24     1       B G R               pitch[0] >= 3 * width, height rows
 *   QX_FMT_ARGB      1       B G R A             pitch[0] >= 4 * width, height rows
 *   QX_FMT_ABGR      1       R G B A             pitch[0] >= 4 * width, height rows
 *   QX_FMT_GRAY      1       luminance or mask   pitch[0] >= width, height rows
 *   QX_FMT_NV12      2       Y; then U V pairs   plane 0 as GRAY; plane 1: see below
 *   QX_FMT_NV21      2       Y; then V U pairs   plane 0 as GRAY; plane 1: see below
 *
 * The chroma plane of NV12 and NV21 holds one pair for 2 x 2 pixels. For even sizes it has
 * height / 2 rows of width bytes. For odd sizes provide (height + 1) / 2 rows of width + 1 bytes:
 * conversions between colour formats work on the rounded-up chroma size; every other operation uses
 * the rounded-down size (height / 2 rows of width & ~1 bytes) only. A plane is assumed to own
 * pitch * rows bytes, including the padding of the last row.
 */
#define QX_FMT_RGB24 0x201u
#define QX_FMT_ARGB 0x302u
#define QX_FMT_ABGR 0x305u
#define QX_FMT_GRAY 0x701u
#define QX_FMT_NV12 0x801u
#define QX_FMT_NV21 0x802u

/*
 * An image in the caller's memory. The library reads the record and never changes it.
 *
 * Unless a function says otherwise, an image is accepted when the record pointer and plane[0] are
 * not null, width >= 1, height >= 1, pitch[0] >= width, the format is one of those the function
 * takes and, for NV12 and NV21, pitch[1] >= width and plane[1] is not null. The pitch is compared
 * with the width in pixels even where a pixel has more than one byte; it is up to the caller that
 * the rows are large enough.
 */
typedef struct QX_OFFSCREEN {
  uint32_t format;   /* one of QX_FMT_* */
  int32_t width;     /* pixels */
  int32_t height;    /* pixels */
  uint8_t* plane[4]; /* start of each plane; 2 and 3 are unused */
  int32_t pitch[4];  /* bytes between the starts of consecutive rows of the plane */
} QX_OFFSCREEN;

/* A point in pixels: x to the right, y downwards, (0, 0) is the centre of the top-left pixel. */
typedef struct TPOINT {
  int32_t x;
  int32_t y;
} TPOINT;

/* A box of pixels; all four edges are inclusive. */
typedef struct MKRect {
  uint32_t left;
  uint32_t top;
  uint32_t right;
  uint32_t bottom;
} MKRect;

/* ------------------------------------------------------------------------------------------------
 * Image operations
 * --------------------------------------------------------------------------------------------- */

/* One line of text with the name and version of the library; valid for the life of the process. */
MVK_API const char* qxMorvik_version(void);

/*
 * Copies src to dst. Formats: RGB24, ARGB, GRAY, NV12, NV21 (not ABGR), the same on both sides.
 * Rows by pitch; of two-plane images the even part is copied, plane by plane.
 *
 * Only null pointers and formats are checked. Images of different size are not copied (decided for
 * each plane of NV12 and NV21); the result is MVK_OK nevertheless.
 */
MVK_API uint32_t mvk_copy(const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src);

/*
 * Converts src to the format of dst; the formats must differ. Rows by pitch. dst must have the size
 * of src. The sizes are not compared: RGB24 <- NV12 / NV21 writes the size of src, all others
 * that of dst.
 *
 *   to \ from   RGB24   ARGB   ABGR   GRAY   NV12   NV21
 *   RGB24         .      yes    -      yes    yes    yes
 *   ARGB         yes      .     -      yes    yes    yes
 *   ABGR          -       -     .       -     yes    yes
 *   GRAY         yes     yes    -       .     yes    yes
 *   NV12         yes     yes   yes     yes     .     yes
 *   NV21         yes     yes   yes     yes    yes     .
 *
 * A pair marked "-" writes nothing and returns MVK_OK. Gray is the mean of the three colour bytes,
 * rounded down; from NV12 and NV21 it is the Y plane. YUV is BT.601, limited range.
 *
 * NV12 <- GRAY sets the chroma bytes of a row to 128 from the second byte to one byte past its end.
 * The first byte of a row keeps its value (unless rows follow each other without padding: then the
 * previous row has set it), and nothing past pitch[1] * (height / 2) bytes is written. NV21 <- GRAY
 * fills whole rows.
 */
MVK_API uint32_t mvk_convert(const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src);

/* Interpolation methods of mvk_resize(). */
#define MVK_RESIZE_NEAREST 0u
#define MVK_RESIZE_LINEAR 1u
#define MVK_RESIZE_CUBIC 2u
#define MVK_RESIZE_AREA 3u

/*
 * Scales src to the size of dst by one of the MVK_RESIZE_* methods. Formats: RGB24, ARGB, GRAY,
 * NV12, NV21 (not ABGR), the same on both sides. Rows by pitch. Chroma is scaled as an image of
 * (width / 2) x (height / 2) pairs; with a width or height of 1 there is none. Nothing is written
 * if a pitch is smaller than a row.
 */
MVK_API uint32_t mvk_resize(const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src, uint32_t method);

/*
 * Rotates src clockwise by angle degrees: 0 (a copy), 90, 180 or 270; others are refused. Formats:
 * RGB24, ARGB, GRAY, NV12, NV21 (not ABGR), the same on both sides. dst must have the rotated size
 * (width and height swapped for 90 and 270); with another size nothing outside dst is touched, but
 * its content is unspecified.
 *
 * RGB24 and ARGB: rows by pitch. GRAY, NV12 and NV21: rows packed for 90, 180 and 270, by pitch for
 * 0. Of NV12 and NV21 the even part is rotated, and "packed" means rows as long as the even width.
 */
MVK_API uint32_t mvk_rotate(const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src, int32_t angle);

/* ------------------------------------------------------------------------------------------------
 * Mask operations. All expect packed rows, except mvk_get_mask_roi(). Mask smoothing, blurs, hole
 * filling and morphology return MVK_OK without writing if a side is above 2^29.
 * --------------------------------------------------------------------------------------------- */

/*
 * Enlarges a coarse segmentation mask to the size of its photograph with smooth edges.
 *
 *   dst    GRAY, as large as guide; receives the smooth mask
 *   mask   GRAY, at most 520 x 520, smaller than guide in both directions
 *   guide  RGB24, the photograph
 *   mode   1 snaps the edges of the mask, each in its row, to the strongest step in brightness
 *          of guide within 7 working pixels to the left and right; any other value does not
 *   limit  working size in pixels. If the larger side of dst exceeds it, the mask is binarised
 *          (255 above 250, 0 elsewhere), enlarged by the integer factor nearest to limit / larger
 *          side of mask, smoothed by a median of 25 and scaled to dst. Otherwise the mask is scaled
 *          to dst directly and smoothed by a median of 15, without binarising; mode is then
 *          ignored.
 *
 * A limit so small that the factor is 0 gives MVK_BAD_ARGUMENT. All rows packed.
 */
MVK_API uint32_t mvk_make_mask_smooth(const QX_OFFSCREEN* dst, const QX_OFFSCREEN* mask,
                                      const QX_OFFSCREEN* guide, uint32_t mode, uint32_t limit);

/*
 * Binarises src (255 where a pixel is above level, 0 elsewhere) into dst and fills the holes of the
 * shape with the largest area and of its siblings, the shapes at the same level of nesting. GRAY to
 * GRAY of equal size, rows packed; level is 0 to 254. dst may be src.
 */
MVK_API uint32_t mvk_make_up_holes(const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src,
                                   uint32_t level);

/*
 * Dilates (amount > 0) or erodes (amount < 0) a mask with an elliptic kernel of |amount| + 1
 * pixels, so by about |amount| / 2 on each side. Odd amounts give kernels of even size, whose
 * centre is half a pixel to the right and below. Pixels outside the image are ignored. GRAY to GRAY
 * of equal size, rows packed; dst may be src. amount is -200 to 200; amount 0 clears dst and
 * returns MVK_BAD_ARGUMENT.
 */
MVK_API uint32_t mvk_mask_morph(const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src, int32_t amount);

/* Filters of mvk_smooth(): 32 bits wide in C and in C++. */
#ifdef __cplusplus
} /* extern "C" */
enum class MKBlur : uint32_t { Mean = 0, Median = 1, Gaussian = 2, Bilateral = 3 };
extern "C" {
#else
typedef uint32_t MKBlur;
enum { MKBlur_Mean = 0, MKBlur_Median = 1, MKBlur_Gaussian = 2, MKBlur_Bilateral = 3 };
#endif

/*
 * Blurs src into dst; note that the source comes first. GRAY or RGB24, same format and size on both
 * sides, rows packed; dst may be src. At the border Median replicates the edge pixels, the others
 * reflect the image without repeating them.
 *
 *   ksize     kernel size in pixels, odd, at most 199; for Bilateral the diameter, where 1 is
 *             taken as 3
 *   reserved  ignored
 *   param1    Gaussian: horizontal sigma in pixels, 0 derives it from ksize; Bilateral: sigma in
 *             colour space
 *   param2    Gaussian: vertical sigma in pixels, 0 takes param1's; Bilateral: sigma in space, in
 *             pixels (a sigma of 0 is taken as 1)
 */
MVK_API uint32_t mvk_smooth(const QX_OFFSCREEN* src, const QX_OFFSCREEN* dst, uint32_t ksize,
                            MKBlur type, uint32_t reserved, uint32_t param1, uint32_t param2);

/*
 * Replaces a GRAY image by a filled polygon: 255 inside and on its border, 0 elsewhere. The polygon
 * is closed automatically, filled by the even-odd rule and clipped to the image; one or two points
 * give a dot or a line, count 0 an image of zeros. Rows packed.
 */
MVK_API uint32_t mvk_fill_area_up(const QX_OFFSCREEN* image, uint32_t count, const TPOINT* points);

/*
 * Finds the bounding box of the pixels >= level of a GRAY image. Rows by pitch. level 0 and 255 are
 * refused; above 255 nothing matches. Without a match rect is all 0 and the result MVK_NOT_FOUND,
 * as for an image without pixels (width and height are not checked).
 */
MVK_API uint32_t mvk_get_mask_roi(const QX_OFFSCREEN* image, MKRect* rect, uint32_t level);

/* ------------------------------------------------------------------------------------------------
 * Outline service
 * --------------------------------------------------------------------------------------------- */

/* Values of MKOutlineMode.mode: how the shapes are grown before their outlines are traced. */
#define MK_OMODE_STROKE 0u           /* every contour drawn with a line 2 * expand_size wide */
#define MK_OMODE_FILL_STROKE 1u      /* contours filled, then drawn as in STROKE */
#define MK_OMODE_HULL_FILL_STROKE 2u /* as FILL_STROKE, on the convex hulls */
#define MK_OMODE_POLAR                                                                          \
  3u                             /* main shapes scaled about their centroids, so that the point \
                                    nearest the centroid moves out by expand_size */
#define MK_OMODE_HULL_POLAR 4u   /* as POLAR, on the convex hulls */
#define MK_OMODE_POLAR_CENTER 5u /* as POLAR, about `center` when it is given */
#define MK_OMODE_VECTOR                                                                         \
  6u                              /* points of main shapes right of and below the centroid move \
                                     away from it, by at most about expand_size */
#define MK_OMODE_HULL_VECTOR 7u   /* as VECTOR, on the convex hulls */
#define MK_OMODE_VECTOR_CENTER 8u /* as VECTOR, about `center` when it is given */

/* Values of MKOutlineMode.chain_approx. */
#define MK_OCHAIN_ALL 1u    /* every pixel of a boundary */
#define MK_OCHAIN_SIMPLE 2u /* only the ends of straight and diagonal runs */

/* Smoothing window in per cent of a contour's length; 32 bits wide in C and in C++. */
#ifdef __cplusplus
} /* extern "C" */
enum MKOSmoothLevel : uint32_t {
  MK_OSMOOTH_NONE = 0,
  MK_OSMOOTH_1 = 1,
  MK_OSMOOTH_2 = 2,
  MK_OSMOOTH_3 = 3,
  MK_OSMOOTH_4 = 4,
  MK_OSMOOTH_5 = 5
};
extern "C" {
#else
typedef uint32_t MKOSmoothLevel;
enum {
  MK_OSMOOTH_NONE = 0,
  MK_OSMOOTH_1 = 1,
  MK_OSMOOTH_2 = 2,
  MK_OSMOOTH_3 = 3,
  MK_OSMOOTH_4 = 4,
  MK_OSMOOTH_5 = 5
};
#endif

/* Parameters of mvk_outline_expansion(); only read by the library. */
typedef struct MKOutlineMode {
  uint32_t mode;               /* MK_OMODE_*, 0 to 8 */
  uint32_t chain_approx;       /* MK_OCHAIN_*, 1 or 2: which points are returned */
  uint16_t expand_size;        /* pixels, 0 to 500 */
  MKOSmoothLevel smooth_level; /* 0 (none) to 5; windows above 65535 points do nothing */
  uint32_t approx_poly;        /* not 0: outlines are simplified to within 1 % of their length */
  const TPOINT* center;        /* modes 5 and 8; null: each shape's centroid */
  uint8_t threshold;           /* 0 to 253; pixels above it are shape */
} MKOutlineMode;

/*
 * Outlines found by mvk_outline_expansion(). Zero the record before its first use; the arrays
 * belong to the library, which releases them at the next mvk_outline_expansion() with the same
 * record or in mvk_outline_destroy().
 */
typedef struct MKGetOutline {
  uint32_t contour_count; /* number of outlines */
  uint32_t* point_counts; /* points of each outline */
  int32_t** points;       /* for each outline 2 * point_counts[i] values: x0, y0, x1, y1, ... */
} MKGetOutline;

/* Returns a handle for the calls below, or null when out of memory. It holds no state. */
MVK_API void* mvk_outline_create(void);

/*
 * Binarises image (above mode->threshold), grows its shapes and returns the outlines of the result,
 * outer borders and holes. The grown shapes are painted over the binarised image, so shapes never
 * shrink; all modes but STROKE, and any smoothing, also fill holes (except where two hulls of
 * mode 2 overlap).
 *
 * The main shapes are the one with the largest area and its siblings on one side: the later ones,
 * or the earlier ones if it is the last. Only main shapes are moved by modes 3 to 8 and smoothed; a
 * shape without area (a dot, a line) is moved only if center is given. Modes 3 to 5 with an
 * expand_size above 0 leave a shape where it is if a point of its outline lies on the centre.
 * Outlines of main shapes are returned in the opposite direction to the others. Points within two
 * pixels of the edge of the image are moved onto it.
 *
 * image is GRAY with packed rows, or NV21, whose Y plane is read by pitch and whose chroma plane is
 * never read and may be null. Pitches are not checked. Other formats, a null plane[0] and sizes
 * below 1 give MVK_BAD_ARGUMENT, as do values in mode outside the ranges above, which are checked
 * first.
 *
 * The outlines of the previous call in result are released first. If handle or result is null,
 * nothing is touched; after any other failure the record holds no outlines.
 */
MVK_API uint32_t mvk_outline_expansion(void* handle, const QX_OFFSCREEN* image,
                                       const MKOutlineMode* mode, MKGetOutline* result);

/*
 * Releases the outlines in result, and the handle; both may be null. The record keeps its stale
 * values: zero it before using it again.
 */
MVK_API void mvk_outline_destroy(void* handle, MKGetOutline* result);

/* ------------------------------------------------------------------------------------------------
 * Face landmarks
 * --------------------------------------------------------------------------------------------- */

/*
 * Writes count points to a text file, one per line, values separated by separator, lines ended by
 * a line feed. Values are floats with six significant digits (is_float not 0) or int32_t. dims 3
 * means x, y, z; any other value x, y. The decimal separator is a point in every locale.
 *
 * An existing file is replaced; count < 1 leaves it empty. A null path, or null points with
 * count >= 1, give MVK_BAD_ARGUMENT. Anything else gives MVK_OK, even if the file cannot be opened
 * or written. Folders and devices are treated like files that cannot be opened; FIFOs and terminals
 * work, and a FIFO waits for its other end and for the end of each line, as in any program.
 */
MVK_API uint32_t mvk_write_landmarks(const void* points, int count, const char* path, int is_float,
                                     int dims, char separator);

/*
 * Reads at most count points from a file as mvk_write_landmarks() writes it. Points without a line
 * in the file keep their values; so do all points if the file cannot be opened (result MVK_OK).
 * Missing fields and fields without a number are 0; text after a number is ignored, and so is what
 * follows the first MiB of a line. Integers saturate to 64 bits, of which the lowest 32 are kept;
 * floats too large become infinite. Codes and kinds of files as for writing.
 */
MVK_API uint32_t mvk_read_landmarks(void* points, int count, const char* path, int is_float,
                                    int dims, char separator);

/*
 * Predicts 11 points of the forehead's outline from the landmarks of a face: from the side of
 * contour point 0 up to the apex (index 5) and down to the side of the contour's other end.
 *
 *   out_points     22 values: x, y pairs in pixels; may be the same memory as in_points
 *   in_points      2 * count values: x, y pairs in pixels
 *   count          106 (the layout of detectors) or 96 (the internal layout), both drawn in
 *                  docs/landmarks.md; any other count, or a null pointer, gives MVK_BAD_ARGUMENT
 *   width, height  size of the image in pixels
 *
 * Landmarks that do not form a face give meaningless points: values saturate, and NaN becomes 0.
 */
MVK_API uint32_t mvk_guess_forehead_landmarks(int32_t* out_points, const int32_t* in_points,
                                              uint32_t count, int width, int height);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* MORVIK_MORVIK_H */
