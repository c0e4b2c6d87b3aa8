// All operations on pictures: the table of contents of this folder.
//
// Rules common to all operations:
//   - Operations are static, keep nothing between calls and take no lock. A picture is written by one thread at a time.
//   - A name ends in the format that it serves (pic_buf.h): 1_8, 3_8, 1_16, 1_F, 3_F, 1_D; x8, x16 and x32 stand for
//   any
//     number of components of that depth. A name without a format looks at the depth first and the components second,
//     calls the variant for it, and does nothing for a format without variant, or when two pictures differ in format.
//   - Rectangles are half-open; an empty one does nothing.
//   - Nothing is clipped, except in drawing: callers keep rectangles and positions inside the pictures, and pass
//     pictures of matching size where whole pictures are combined.
//   - The destination has been allocated by the caller. Source and destination are different pictures unless an
//     operation states otherwise.
//   - Views made by SubPic can be passed everywhere except to ReinitHeap, DoneHeap and ConvertBpcComp: a view never
//     frees its parent's pixels.
//   - Operations with a result return kBxSuccess (0), kBxFailure (1) or kBxOutOfMemory (6); none throws or logs.
#pragma once

#include "geometry.h"
#include "pic_buf.h"
#include "pic_map.h"

class CBxPicBufAPI {
public:
    // ---- life cycle and whole-picture fills (pic_lifecycle.cpp) ----

    // Sets every field to zero. Comes before the first ReinitHeap of a record.
    static void Init(SBxPicBuf& buf);

    // Releases the pixels, stores the geometry and allocates uninitialised pixels in packed rows. 6 when memory cannot
    // be had, a value is negative, or the size does not fit the fields: the data pointer is then null and the four
    // values are set. A width or height of 0 gives an empty, valid picture.
    [[nodiscard]] static int ReinitHeap(SBxPicBuf& buf, int width, int height, int components, int bitsPerComponent);
    // Gives `buf` the geometry of `model`, with the pixels that it has when the byte sizes are equal, with fresh ones
    // otherwise. 6 when memory cannot be had: the data pointer is then null and the geometry as before.
    [[nodiscard]] static int ReinitHeap(SBxPicBuf& buf, const SBxPicBuf& model);

    // Frees the pixels and sets every field to zero; changes nothing without pixels. Never for a view.
    static void DoneHeap(SBxPicBuf& buf);

    // Writes `value` into every byte: of 16-bit, float and double pictures each byte, not each component.
    static void SetConst(SBxPicBuf& buf, unsigned char value);
    static void Zero(SBxPicBuf& buf);

    // Copies as many bytes as the smaller of the two has, from start to start, whatever the geometries are. Of a view
    // only the bytes from its first to its last pixel count.
    static void Copy(SBxPicBuf& dst, const SBxPicBuf& src);

    // Makes `view` a view of a rectangle of `src`; lives as long as the pixels of `src`.
    static void SubPic1_8(SBxPicBuf& view, const SBxPicBuf& src, const CBxRect<int>& rect);
    static void SubPic3_8(SBxPicBuf& view, const SBxPicBuf& src, const CBxRect<int>& rect);
    static void SubPic1_D(SBxPicBuf& view, const SBxPicBuf& src, const CBxRect<int>& rect);
    static void SubPic(SBxPicBuf& view, const SBxPicBuf& src, const CBxRect<int>& rect);

    // ---- copies and fills of rectangles (pic_copy.cpp) ----

    // Copies a rectangle of `src` to the top left corner of `dst`.
    static void Copy1_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& rect);
    static void Copy3_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& rect);
    static void Copy1_F(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& rect);
    static void Copy3_F(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& rect);
    static void Copy1_D(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& rect);
    static void Copy(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& rect);

    // Copies the frame between two rectangles: top, bottom, left and right band, each to the top left corner of `dst`.
    static void Copy(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& outer, const CBxRect<int>& inner);

    // Copies a block from `srcPos` of `src` to `dstPos` of `dst`.
    static void CopyRect1_8(SBxPicBuf& dst, SBxPicBuf& src, const CBxPoint<int>& dstPos, const CBxPoint<int>& srcPos,
                            const CBxSize<int>& size);
    static void CopyRect3_8(SBxPicBuf& dst, SBxPicBuf& src, const CBxPoint<int>& dstPos, const CBxPoint<int>& srcPos,
                            const CBxSize<int>& size);
    static void CopyRect1_16(SBxPicBuf& dst, SBxPicBuf& src, const CBxPoint<int>& dstPos, const CBxPoint<int>& srcPos,
                             const CBxSize<int>& size);
    static void CopyRect1_F(SBxPicBuf& dst, SBxPicBuf& src, const CBxPoint<int>& dstPos, const CBxPoint<int>& srcPos,
                            const CBxSize<int>& size);
    static void CopyRect1_D(SBxPicBuf& dst, SBxPicBuf& src, const CBxPoint<int>& dstPos, const CBxPoint<int>& srcPos,
                            const CBxSize<int>& size);
    static void CopyRect(SBxPicBuf& dst, SBxPicBuf& src, const CBxPoint<int>& dstPos, const CBxPoint<int>& srcPos,
                         const CBxSize<int>& size);

    // Moves a block inside one picture; the two places may overlap.
    static void Copy1_8(SBxPicBuf& pic, const CBxPoint<int>& dstPos, const CBxPoint<int>& srcPos,
                        const CBxSize<int>& size);
    static void Copy1_D(SBxPicBuf& pic, const CBxPoint<int>& dstPos, const CBxPoint<int>& srcPos,
                        const CBxSize<int>& size);
    static void Copy(SBxPicBuf& pic, const CBxPoint<int>& dstPos, const CBxPoint<int>& srcPos,
                     const CBxSize<int>& size);

    // Writes `value` into every byte of a rectangle.
    static void SetConst1_8(SBxPicBuf& pic, const CBxRect<int>& rect, unsigned char value);
    static void SetConst3_8(SBxPicBuf& pic, const CBxRect<int>& rect, unsigned char value);
    static void SetConst1_D(SBxPicBuf& pic, const CBxRect<int>& rect, unsigned char value);
    static void SetConst(SBxPicBuf& pic, const CBxRect<int>& rect, unsigned char value);
    static void Zero(SBxPicBuf& pic, const CBxRect<int>& rect);

    // ---- blends and sums (pic_blend.cpp) ----

    // Blends a rectangle of `src` over the same rectangle of `dst`. `transparency` is the share of `dst` that remains,
    // 0 to 1; it is rounded to 256ths. At 0 this is the rectangle Copy, which writes to the top left corner of `dst`.
    static void TransparentCopy1_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& rect, double transparency);
    static void TransparentCopy1_D(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& rect, double transparency);
    static void TransparentCopy(SBxPicBuf& dst, const SBxPicBuf& src, const CBxRect<int>& rect, double transparency);

    // dst = dst + src over the whole picture; 1_8 saturates at 255.
    static void Plus1_8(SBxPicBuf& dst, SBxPicBuf& src);
    static void Plus1_D(SBxPicBuf& dst, SBxPicBuf& src);
    static void Plus(SBxPicBuf& dst, SBxPicBuf& src);

    // ---- component planes (pic_planes.cpp) ----

    // dst (1 component) = component `index` of `src`. 1, with `dst` unchanged, when `dst` has other than 1 component,
    // there is no such component, width, height or depth differ, or the depth is not 8, 16 or 32.
    static int ExtractComponent_x8(SBxPicBuf& dst, unsigned int index, SBxPicBuf& src);
    static int ExtractComponent_x16(SBxPicBuf& dst, unsigned int index, SBxPicBuf& src);
    static int ExtractComponent_x32(SBxPicBuf& dst, unsigned int index, SBxPicBuf& src);
    static int ExtractComponent(SBxPicBuf& dst, unsigned int index, SBxPicBuf& src);

    // Component `index` of `dst` = src (1 component). 1, with `dst` unchanged, when `src` has other than 1 component,
    // there is no such component, or width, height or depth differ. A depth other than 8 goes through the 16-bit form
    // as it stands; depths that take a single byte and are not 8 give 1.
    static int InsertComponent_x8(SBxPicBuf& dst, unsigned int index, SBxPicBuf& src);
    static int InsertComponent_x16(SBxPicBuf& dst, unsigned int index, SBxPicBuf& src);
    static int InsertComponent(SBxPicBuf& dst, unsigned int index, SBxPicBuf& src);

    // dst (1 component) = mean of the components of each pixel, truncated. The 16-bit form keeps its low 8 bits only.
    static void ConvertToIntensity_x8(SBxPicBuf& dst, const SBxPicBuf& src);
    static void ConvertToIntensity_x16(SBxPicBuf& dst, const SBxPicBuf& src);

    // Every component of a `dst` pixel = the single component of the `src` pixel.
    static void ExpandComponents_x8(SBxPicBuf& dst, const SBxPicBuf& src);
    static void ExpandComponents_x16(SBxPicBuf& dst, const SBxPicBuf& src);

    // ---- depths (pic_depth.cpp) ----

    // Copy the components across depths. They are shifted by the difference of the component counts, which is zero in
    // every sensible use: values are copied unscaled, and a 16-bit value keeps only its low 8 bits in 8.
    static void ChangeBpcBuff8x16(SBxPicBuf& dst, const SBxPicBuf& src);
    static void ChangeBpcBuff16x8(SBxPicBuf& dst, const SBxPicBuf& src);
    static void ChangeBpcBuff16x16(SBxPicBuf& dst, const SBxPicBuf& src);

    // Converts an owned picture in place to another depth and number of components: several components become one by
    // their intensity, one becomes several by repetition. 1 when several were to become several others, or when a
    // depth other than 8 to 16 bits would have to change or to be averaged. 6 without memory. The picture is as it was
    // after 1 and 6.
    [[nodiscard]] static int ConvertBpcComp(SBxPicBuf& pic, unsigned int bitsPerComponent, unsigned int components);

    // ---- colour spaces (pic_colour.cpp) ----

    // Blue, green, red to Y, V, U, and back. Differences are stored around 128; results are clamped to the range of the
    // component type. `dst` may be `src`.
    static void ConvertRGBtoYUV_x8(SBxPicBuf& dst, const SBxPicBuf& src);
    static void ConvertRGBtoYUV_x16(SBxPicBuf& dst, const SBxPicBuf& src);
    static void ConvertRGBtoYUV(SBxPicBuf& dst, const SBxPicBuf& src);
    static void ConvertYUVtoRGB_x8(SBxPicBuf& dst, const SBxPicBuf& src);
    static void ConvertYUVtoRGB_x16(SBxPicBuf& dst, const SBxPicBuf& src);
    static void ConvertYUVtoRGB(SBxPicBuf& dst, const SBxPicBuf& src);

    // ---- geometric transforms (pic_transform.cpp, pic_transform_exact.cpp, pic_transform_fast.cpp) ----
    //
    // Every destination pixel is read from the source at the position that the map gives for it. Pixels whose position
    // is outside the source, or closer to its border than a way of sampling reaches, keep their values. Sources smaller
    // than 4 x 4 are sampled bilinearly instead of bicubically, sources smaller than 2 x 2 by the nearest sample.
    // The Fast forms serve 8-bit pictures; they walk each row in 16.16 fixed point and weigh in integers, and may
    // differ from the exact forms by one grey level.

    // Fills a rectangle of `dst`, whose pixels keep their place in the mapping. 1_8, 3_8, 1_D.
    static void Transform(SBxPicBuf& dst, CBxRect<int> rect, const SBxPicBuf& src, const CBxPicMap& map,
                          EBxInterpolation kind, bool fast);
    // The same for a 1_D picture; there is no Fast form and `fast` is ignored.
    static void Transform1_D(SBxPicBuf& dst, CBxRect<int> rect, const SBxPicBuf& src, const CBxPicMap& map,
                             EBxInterpolation kind, bool fast);
    // Fills the frame between two rectangles: top, bottom, left and right band.
    static void Transform(SBxPicBuf& dst, CBxRect<int> outer, const CBxRect<int>& inner, const SBxPicBuf& src,
                          const CBxPicMap& map, EBxInterpolation kind, bool fast);

    // Whole destinations.
    // The pixel under the position.
    static void TransformConstant1_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map);
    static void TransformConstant3_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map);
    static void TransformConstant1_D(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map);
    static void TransformConstant(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map);
    static void TransformConstantFast1_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map);
    static void TransformConstantFast3_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map);
    static void TransformConstantFast(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map);

    // Mixed from 2 x 2 pixels. The 1_D form stores the value plus 0.5, like the forms that round to bytes.
    static void TransformBilinear1_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map);
    static void TransformBilinear3_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map);
    static void TransformBilinear1_D(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map);
    static void TransformBilinear(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map);
    static void TransformBilinearFast1_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map);
    static void TransformBilinearFast3_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map);
    static void TransformBilinearFast(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map);

    // Mixed from 4 x 4 pixels; bytes are clamped, doubles are stored as they come out.
    static void TransformBicubic1_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map);
    static void TransformBicubic3_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map);
    static void TransformBicubic1_D(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map);
    static void TransformBicubic(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map);
    static void TransformBicubicFast1_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map);
    static void TransformBicubicFast3_8(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map);
    static void TransformBicubicFast(SBxPicBuf& dst, const SBxPicBuf& src, const CBxPicMap& map);

    // ---- drawing (pic_draw_lines.cpp, pic_draw_rects.cpp, pic_draw_spline.cpp) ----
    //
    // Everything is clipped to the picture, and coordinates may be any int. Thin lines and splines draw into 1_8
    // pictures only and write the largest component of the colour; rectangles, and with them thick lines, borders and
    // markers, draw into 3_8 pictures only and write all three. Nothing is drawn into any other picture.

    // A line with both its end points, one pixel wide; steps are taken along x when the line is diagonal.
    static void DrawLine(SBxPicBuf& pic, int x0, int y0, int x1, int y1, const CBxColor& colour);
    // `width` above 1 draws strips of 2 width - 1 pixels across the line, 1 the thin line, less nothing.
    static void DrawLine(SBxPicBuf& pic, int x0, int y0, int x1, int y1, int width, const CBxColor& colour);

    static void FillRect(SBxPicBuf& pic, const CBxRect<int>& rect, const CBxColor& colour);
    // A border of `width` pixels around the outside of the rectangle.
    static void DrawRectBorder(SBxPicBuf& pic, const CBxRect<int>& rect, int width, const CBxColor& colour);
    // A square of 2 radius - 1 pixels around (x, y) with a border of `width` pixels.
    static void DrawRectPoint(SBxPicBuf& pic, int x, int y, int radius, int width, const CBxColor& fill,
                              const CBxColor& border);

    // The piece from p1 to p2 of the smooth curve through the four points; neighbouring pixels touch.
    static void DrawSplineSegment(SBxPicBuf& pic, const CBxPoint<int>& p0, const CBxPoint<int>& p1,
                                  const CBxPoint<int>& p2, const CBxPoint<int>& p3, const CBxColor& colour);
};
