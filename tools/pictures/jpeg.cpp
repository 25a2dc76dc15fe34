// jpeglib.h needs these before it.
#include <cstddef>
#include <cstdio>
// clang-format off
#include <jpeglib.h>
#include <jerror.h>
// clang-format on

#include <algorithm>
#include <array>
#include <csetjmp>
#include <memory>
#include <utility>

#include "pictures/codecs.h"
#include "pictures/failure.h"

namespace tool {
namespace {

constexpr int kExif = JPEG_APP0 + 1;
constexpr int kIcc = JPEG_APP0 + 2;
constexpr size_t kLargestProfile = size_t{255} * 65519;  // so many markers, so many bytes in each
constexpr int kMaxScans = 500;                           // small files of more take minutes

// libjpeg's way out: its error handler leaves by a long jump.
struct Errors : jpeg_error_mgr {
  std::jmp_buf jump;
  char message[JMSG_LENGTH_MAX] = {};
  int surplus = 0;  // bytes between the pixels and the end
  bool bad_profile = false;
};

Errors& errors_of(j_common_ptr codec) { return *static_cast<Errors*>(codec->err); }

[[noreturn]] void leave(j_common_ptr codec) {
  Errors& errors = errors_of(codec);
  errors.format_message(codec, errors.message);
  std::longjmp(errors.jump, 1);
}

// A file that makes the decoder warn has lost pixels: it is refused like any other damaged one.
// Only bytes too many before the end are common and harmless, and a broken profile costs no pixel.
void on_message(j_common_ptr codec, int level) {
  if (level >= 0) return;
  Errors& errors = errors_of(codec);
  if (errors.msg_code == JWRN_BOGUS_ICC) {
    errors.bad_profile = true;
    return;
  }
  if (errors.msg_code != JWRN_EXTRANEOUS_DATA || errors.msg_parm.i[1] != JPEG_EOI) leave(codec);
  errors.surplus = errors.msg_parm.i[0];
}

void on_progress(j_common_ptr codec) {
  const auto* decoder = reinterpret_cast<j_decompress_ptr>(codec);
  if (decoder->input_scan_number <= kMaxScans) return;
  std::snprintf(errors_of(codec).message, JMSG_LENGTH_MAX, "more than %d scans", kMaxScans);
  std::longjmp(errors_of(codec).jump, 1);
}

// A decoder or an encoder with its way out.
template <class Codec>
class Jpeg {
 public:
  explicit Jpeg(void (*create)(Codec*)) {
    codec_.err = jpeg_std_error(&errors_);
    errors_.error_exit = leave;
    errors_.emit_message = on_message;
    create(&codec_);
  }
  ~Jpeg() { jpeg_destroy(reinterpret_cast<j_common_ptr>(&codec_)); }
  Jpeg(const Jpeg&) = delete;
  Jpeg& operator=(const Jpeg&) = delete;

  Codec* operator->() { return &codec_; }
  Codec* get() { return &codec_; }
  const Errors& errors() const { return errors_; }

  // What the calls leave by a long jump must not need a destructor.
  template <class Calls>
  void run(const char* what, Calls calls) {
    if (setjmp(errors_.jump) != 0) throw Failure(what + std::string(errors_.message));
    calls();
  }

 private:
  Codec codec_{};
  Errors errors_{};
};

constexpr const char* kDamaged = "damaged JPEG: ";
constexpr const char* kNotMade = "the JPEG cannot be made: ";

using Decoder = Jpeg<jpeg_decompress_struct>;
using Encoder = Jpeg<jpeg_compress_struct>;

int orientation_of(const jpeg_decompress_struct& decoder) {
  constexpr size_t kMark = 6;  // "Exif" and two zeros
  for (auto* marker = decoder.marker_list; marker != nullptr; marker = marker->next) {
    const std::string_view data(reinterpret_cast<const char*>(marker->data), marker->data_length);
    if (marker->marker == kExif && data.starts_with("Exif")) {
      return data.size() <= kMark
                 ? 1
                 : exif_orientation({marker->data + kMark, marker->data_length - kMark});
    }
  }
  return 1;
}

ColorTags color_of(Decoder& decoder) {
  JOCTET* icc = nullptr;
  unsigned size = 0;
  ColorTags color;
  decoder.run(kDamaged, [&] { jpeg_read_icc_profile(decoder.get(), &icc, &size); });
  const std::unique_ptr<JOCTET, void (*)(void*)> owner(icc, std::free);
  if (icc != nullptr) color.icc.assign(icc, icc + size);
  return color;
}

// Where the encoder writes to. libjpeg's own destination in memory leaves a freed buffer behind
// when it cannot get a larger one.
struct Destination : jpeg_destination_mgr {
  Destination() : jpeg_destination_mgr{} {
    init_destination = [](j_compress_ptr encoder) { destination_of(encoder).start_over(); };
    empty_output_buffer = [](j_compress_ptr encoder) -> boolean {
      Destination& self = destination_of(encoder);
      self.append(encoder, self.buffer.size());  // full, whatever free_in_buffer says
      self.start_over();
      return TRUE;
    };
    term_destination = [](j_compress_ptr encoder) {
      Destination& self = destination_of(encoder);
      self.append(encoder, self.buffer.size() - self.free_in_buffer);
    };
  }
  static Destination& destination_of(j_compress_ptr encoder) {
    return *static_cast<Destination*>(encoder->dest);
  }
  void start_over() {
    next_output_byte = buffer.data();
    free_in_buffer = buffer.size();
  }
  void append(j_compress_ptr encoder, size_t count) {
    bool done = false;
    try {
      file.insert(file.end(), buffer.data(), buffer.data() + count);
      done = true;
    } catch (const std::bad_alloc&) {
      done = false;
    }
    if (!done) ERREXIT1(encoder, JERR_OUT_OF_MEMORY, 0);
  }

  Bytes file;
  std::array<JOCTET, size_t{1} << 16> buffer;
};

std::string remark_on(const Errors& errors) {
  std::string remark;
  if (errors.surplus > 0) {
    remark =
        std::to_string(errors.surplus) + " bytes too many before the JPEG's end; it may be damaged";
  }
  if (errors.bad_profile) {
    remark += std::string(remark.empty() ? "" : "; ") + "its colour profile is broken and left out";
  }
  return remark;
}

void read_header(Decoder& decoder, std::span<const uint8_t> file) {
  decoder.run(kDamaged, [&] {
    jpeg_mem_src(decoder.get(), file.data(), file.size());
    jpeg_save_markers(decoder.get(), kExif, 0xFFFF);
    jpeg_save_markers(decoder.get(), kIcc, 0xFFFF);
    jpeg_read_header(decoder.get(), TRUE);
  });
  if (decoder->jpeg_color_space == JCS_CMYK || decoder->jpeg_color_space == JCS_YCCK) {
    throw Failure("the JPEG holds CMYK colours; gray and RGB files are read");
  }
  check_size(decoder->image_width, decoder->image_height);
}

}  // namespace

bool is_jpeg(std::span<const uint8_t> file) {
  return file.size() >= 3 && file[0] == 0xFF && file[1] == 0xD8 && file[2] == 0xFF;
}

Decoded decode_jpeg(std::span<const uint8_t> file) {
  Decoder decoder(+[](jpeg_decompress_struct* it) { jpeg_create_decompress(it); });
  read_header(decoder, file);
  const bool gray = decoder->jpeg_color_space == JCS_GRAYSCALE;
  Decoded result{
      Picture(gray ? QX_FMT_GRAY : QX_FMT_RGB24,
              {static_cast<int>(decoder->image_width), static_cast<int>(decoder->image_height)})};
  jpeg_progress_mgr progress{};
  progress.progress_monitor = on_progress;
  decoder->progress = &progress;
  decoder->out_color_space = gray ? JCS_GRAYSCALE : JCS_EXT_BGR;
  decoder.run(kDamaged, [&] {
    jpeg_start_decompress(decoder.get());
    while (decoder->output_scanline < decoder->output_height) {
      uint8_t* row = result.picture.row(static_cast<int>(decoder->output_scanline));
      jpeg_read_scanlines(decoder.get(), &row, 1);
    }
  });
  result.color = color_of(decoder);
  result.orientation = orientation_of(*decoder.get());
  decoder.run(kDamaged, [&] { jpeg_finish_decompress(decoder.get()); });
  result.remark = remark_on(decoder.errors());
  return result;
}

Bytes encode_jpeg(const Picture& picture, const ColorTags& color, const Encoding& how) {
  const bool gray = picture.format() == QX_FMT_GRAY;
  if (!gray && picture.format() != QX_FMT_RGB24) throw Failure("a JPEG holds gray or rgb24 pixels");
  Encoder encoder(+[](jpeg_compress_struct* it) { jpeg_create_compress(it); });
  Destination destination;
  encoder->dest = &destination;
  encoder.run(kNotMade, [&] {
    encoder->image_width = static_cast<JDIMENSION>(picture.width());
    encoder->image_height = static_cast<JDIMENSION>(picture.height());
    encoder->input_components = gray ? 1 : 3;
    encoder->in_color_space = gray ? JCS_GRAYSCALE : JCS_EXT_BGR;
    jpeg_set_defaults(encoder.get());
    jpeg_set_quality(encoder.get(), how.quality, TRUE);
    // Colours at full size, unlike the default.
    encoder->comp_info[0].h_samp_factor = encoder->comp_info[0].v_samp_factor = 1;
    jpeg_start_compress(encoder.get(), TRUE);
    if (profile_fits(color.icc, picture.format()) && color.icc.size() <= kLargestProfile) {
      jpeg_write_icc_profile(encoder.get(), color.icc.data(),
                             static_cast<unsigned>(color.icc.size()));
    }
    while (encoder->next_scanline < encoder->image_height) {
      auto* row = const_cast<uint8_t*>(picture.row(static_cast<int>(encoder->next_scanline)));
      jpeg_write_scanlines(encoder.get(), &row, 1);
    }
    jpeg_finish_compress(encoder.get());
  });
  return std::move(destination.file);
}

}  // namespace tool
