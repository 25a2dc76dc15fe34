// What the plain operations refuse.
#include "support/bad_arguments.h"

#include <gtest/gtest.h>

namespace {

using test::TestImage;
using Call = uint32_t (*)(const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src);

template <int kAngle>
uint32_t rotate(const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src) {
  return mvk_rotate(dst, src, kAngle);
}
template <uint32_t kMethod>
uint32_t resize(const QX_OFFSCREEN* dst, const QX_OFFSCREEN* src) {
  return mvk_resize(dst, src, kMethod);
}

TEST(PlainOperations, RefuseBadArguments) {
  const struct {
    Call call;
    uint32_t dst, src;
    bool checks_sizes;
  } kRows[]{{mvk_copy, QX_FMT_NV12, QX_FMT_NV12, false},
            {mvk_convert, QX_FMT_ARGB, QX_FMT_NV12, true},
            {mvk_convert, QX_FMT_NV21, QX_FMT_GRAY, true},
            {rotate<90>, QX_FMT_NV21, QX_FMT_NV21, true},
            {resize<MVK_RESIZE_AREA>, QX_FMT_NV12, QX_FMT_NV12, true}};
  for (const auto& [call, dst_format, src_format, checks_sizes] : kRows) {
    TestImage src(src_format, 8, 8);
    TestImage dst(dst_format, 8, 8, 0, 0, 2);
    std::vector<test::BrokenField> fields{test::kBrokenFields};
    if (!checks_sizes) fields = {fields[0], fields[7], fields[8]};
    if (dst_format == src_format) {
      fields.push_back({"ABGR", [](QX_OFFSCREEN& image) { image.format = QX_FMT_ABGR; }});
      fields.push_back({"other format", [](QX_OFFSCREEN& image) { image.format = QX_FMT_GRAY; }});
    }
    for (TestImage* broken : {std::addressof(src), std::addressof(dst)}) {
      const auto run = [&, operation = call] { return operation(&dst, &src); };
      test::expect_refused(*broken, dst, fields, run);
      if (checks_sizes && broken->descriptor().plane[1] != nullptr) {
        test::expect_refused(*broken, dst, test::kBrokenChromaFields, run);
      }
    }
    EXPECT_EQ(call(nullptr, &src), MVK_BAD_ARGUMENT);
    EXPECT_EQ(call(&dst, nullptr), MVK_BAD_ARGUMENT);
  }
}

TEST(PlainOperations, RefuseOtherAnglesMethodsAndEqualFormats) {
  TestImage image(QX_FMT_GRAY, 8, 8);
  for (const Call call : {rotate<-90>, rotate<1>, rotate<89>, rotate<179>, rotate<360>, rotate<450>,
                          resize<4>, Call{mvk_convert}}) {
    EXPECT_EQ(call(&image, &image), MVK_BAD_ARGUMENT);
  }
}

}  // namespace
