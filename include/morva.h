/*
 * Morva: analogue photography, rendered.
 *
 * A host gives the library a scene-linear picture, the names of a film, a lens and a paper, and a JSON
 * object of options; the library returns the finished sheet: the picture as that lens, film and darkroom
 * would have made it. On the CPU the same input, options and seed give the same bytes on every x86-64
 * machine, but for the letters of a stamp, which are the system's own font.
 *
 * All text, both ways, is UTF-8. No exception leaves the library and it prints nothing: every export that
 * can fail returns a result code and fills a MorvaError, whose text, mostly Russian, is for a person. Pictures
 * that leave the library are freed with morva_free, byte blocks with morva_free_bytes. The library starts no
 * thread of its own; it may be called from any. (The codec behind HEIF files keeps a worker while it decodes.)
 */
#ifndef MORVA_H
#define MORVA_H

#include <stdbool.h>
#include <stdint.h>

#if defined(_WIN32)
#if defined(MORVA_BUILDING)
#define MORVA_API __declspec(dllexport)
#else
#define MORVA_API __declspec(dllimport)
#endif
#else
#define MORVA_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Result codes: the return value of an export and MorvaError.code are equal. */
enum {
  MORVA_OK = 0,
  MORVA_BAD_ARGUMENT = 1,    /* empty or invalid argument */
  MORVA_PROFILE_FAILED = 2,  /* a profile is missing or broken, or no profile directory was found */
  MORVA_OPTIONS_FAILED = 3,  /* the options are not valid */
  MORVA_NOT_PORTED = 4,      /* a feature that the library names but does not carry */
  MORVA_FAILED = 5,          /* out of memory, or any other failure */
  MORVA_CANCELLED = 6,       /* the host raised its cancel flag */
  MORVA_GPU_LOST = 7         /* the GPU stopped answering */
};

/* What went wrong. May be null everywhere: the return value then tells alone. */
typedef struct MorvaError {
  int32_t code;       /* 0, or one of the codes above */
  char message[1024]; /* NUL-terminated; a longer text is cut at byte 1023 */
} MorvaError;

/* A picture that the library made. Every export that fills one zeroes it first, so that after a failure
 * it is empty. */
typedef struct MorvaImage {
  float* data;      /* height * width * channels samples, row by row, channels interleaved; or null */
  int32_t width;    /* pixels */
  int32_t height;   /* pixels */
  int32_t channels; /* samples a pixel, in the order R, G, B */
} MorvaImage;

/* What a picture file tells of itself. Unknown values are zero or empty. */
typedef struct MorvaImageInfo {
  int32_t width;     /* pixels, as the picture stands after its orientation */
  int32_t height;    /* pixels */
  bool is_raw;       /* a camera raw file */
  char camera[128];  /* maker and model */
  char lens[128];    /* lens model */
  double focal_mm;   /* focal length, millimetres */
  double f_number;   /* aperture */
  double exposure_s; /* exposure time, seconds */
  int32_t iso;       /* ISO speed */
  char date[32];     /* date taken, "YYYY:MM:DD HH:MM:SS" */
} MorvaImageInfo;

/* How bright a picture is: luminance (Rec. 709) after its reduction to 1024 pixels on the long side. */
typedef struct MorvaSourceStats {
  int32_t width;  /* of the reduced picture, pixels; at most 1024 */
  int32_t height; /* pixels */
  double p10;     /* 10th percentile, a value of the sorted pixels */
  double p50;     /* median */
  double p995;    /* 99.5th percentile */
} MorvaSourceStats;

/* The version text. Never fails; the text is static. */
MORVA_API const char* morva_version(void);

/* Frees the picture's samples and zeroes the record. Null and an empty record are allowed. */
MORVA_API void morva_free(MorvaImage* image);

/* Frees a block of bytes that the library returned. Null is allowed. */
MORVA_API void morva_free_bytes(void* bytes);

/*
 * Renders a picture: morva_render_ex without a cancel flag.
 */
MORVA_API int32_t morva_render(const float* rgb, int32_t width, int32_t height, const char* options,
                               const char* film, const char* lens, const char* paper, MorvaImage* out,
                               MorvaError* err);

/*
 * Renders a picture.
 *
 * rgb      height * width * 3 scene-linear samples (Rec. 709 primaries, 1.0 is not a limit); read before
 *          the render starts and not after. NaN counts as black; light is bounded at 1e9.
 * options  a JSON object of option keys (morva_option_keys), or null or "" for the defaults.
 * film, lens, paper  profile names; a null or empty paper means the film's own.
 * cancel   null, or an integer of the host's that any thread may set to a value other than 0 to stop the
 *          render at its next stage. Written with a plain or atomic 32-bit store.
 * out      the sheet: linear reflectance in 0..1, three channels, freed with morva_free.
 *
 * One render runs at a time; a second call waits for the first.
 * Returns 0; 1 for a null or empty argument; 2 for a profile, 3 for the options; 4; 5; 6 when cancelled; 7.
 */
MORVA_API int32_t morva_render_ex(const float* rgb, int32_t width, int32_t height, const char* options,
                                  const char* film, const char* lens, const char* paper,
                                  const int32_t* cancel, MorvaImage* out, MorvaError* err);

/*
 * The accepted option keys, sorted and joined by ",". Copies at most cap - 1 bytes and a NUL when `buf` is
 * not null and `cap` is at least 1. Returns the length of the whole text in bytes, so that a null buffer
 * asks for the size.
 */
MORVA_API int32_t morva_option_keys(char* buf, int32_t cap);

/*
 * Takes `dir` as the profile directory, in place of the one that the library would find by itself
 * (MORVA_PROFILES_DIR, or "profiles" beside the library). It must hold a directory "films". Not to be
 * called during a render. Returns 0; 1 for a null or empty path; 2 when there is no "films" in it.
 */
MORVA_API int32_t morva_profiles_load(const char* dir, MorvaError* err);

/*
 * Sets a second directory that is searched after the profile directory; null or "" clears it. Forgets every
 * profile read so far. Returns 0, or 2 when no profile directory can be found.
 */
MORVA_API int32_t morva_profiles_user_dir(const char* dir, MorvaError* err);

/*
 * Reads what the picture file `path` tells of itself. `info` is zeroed first.
 * Returns 0; 1 for a null or empty path or a null `info`; 5 when the file cannot be read.
 */
MORVA_API int32_t morva_image_info(const char* path, MorvaImageInfo* info, MorvaError* err);

/*
 * Decodes a picture file into linear light in 0..1, three channels, Rec. 709 primaries, turned upright.
 *
 * A camera raw file is told by its extension (dng, nef, cr2, cr3, arw, raf, orf, rw2, pef, srw, iiq, 3fr), JPEG,
 * PNG, TIFF, WebP and HEIF by their content. Raw files keep 16 bits; the others are read as 8-bit sRGB: 16 bits
 * are rounded, colour profiles are not looked at.
 *
 * wb_mode    white balance of camera raw files: "film" and "custom" balance for daylight, "as_shot" and
 *            every other text as the camera did; null means "film".
 * half_size  not 0: raw files are decoded at half their size.
 * is_raw     null, or receives 1 for a camera raw file and 0 for another.
 *
 * Returns 0; 1 for a null or empty path or a null `out`; 5 when the file cannot be decoded.
 */
MORVA_API int32_t morva_load_linear(const char* path, const char* wb_mode, int32_t half_size,
                                    MorvaImage* out, int32_t* is_raw, MorvaError* err);

/*
 * Decodes a compressed picture in memory (JPEG, PNG, TIFF, WebP or HEIF, told by its content) for a screen:
 * height * width * 4 bytes in the order B, G, R, alpha, sRGB encoded, not multiplied by alpha, turned
 * upright, rows without gaps.
 *
 * data, size  the file's bytes.
 * bgra        receives the block, which the host frees with morva_free_bytes; null after a failure.
 *
 * Returns 0; 1 for a null argument or a size below 1; 5 when the picture cannot be decoded.
 */
MORVA_API int32_t morva_decode_bgra8(const uint8_t* data, int64_t size, uint8_t** bgra, int32_t* width,
                                     int32_t* height, MorvaError* err);

/*
 * Resamples height * width * 3 samples to new_height * new_width with a Lanczos kernel.
 * Returns 0; 1 for a null argument or a size below 1; 5 when memory fails.
 */
MORVA_API int32_t morva_resize(const float* rgb, int32_t width, int32_t height, int32_t new_width,
                               int32_t new_height, MorvaImage* out, MorvaError* err);

/*
 * What a render makes of its source before the film sees it: the options `crop`, `crop_angle`, `mirror` and
 * `rotate` applied in that order, for a preview. Samples and options are those of morva_render_ex.
 * Returns 0; 1 for a null `rgb` or `out` or a size below 1; 3 for any other failure.
 */
MORVA_API int32_t morva_orient_input(const float* rgb, int32_t width, int32_t height, const char* options,
                                     MorvaImage* out, MorvaError* err);

/*
 * Questions about a render before it runs. They touch no pixel and may be asked while a render runs. Options,
 * film and paper are those of morva_render_ex; `width` x `height` is the source in pixels. All return 0; 1 for
 * a null argument that is not optional; 2 for a profile that is missing or broken, or when no profile
 * directory is found; 3 for any other failure, options above all.
 */

/* The size of the sheet that morva_render_ex returns for the same arguments. `width` and `height` are at
 * least 1 (else 1). What surrounds a picture makes no sheet of more than 32768 pixels a side: that is failure
 * 3, with the size in its text; the render would fail with 5 and the same text. A picture alone may be larger. */
MORVA_API int32_t morva_output_size(const char* options, const char* film, const char* paper, int32_t width,
                                    int32_t height, int32_t* out_w, int32_t* out_h, MorvaError* err);

/*
 * Limits on the long side of a picture, after its crop.
 *
 * cap_px    pixels beyond which a render reduces the picture to what the film resolves; 0 when the option
 *           `master_cap` is off.
 * grain_px  pixels, the film's rebate included, up to which each pixel is an average over the film's grains; a
 *           finer raster shows them. 0 where that does not apply: instant film, no grain, another grain engine.
 */
MORVA_API int32_t morva_frame_caps(int32_t width, int32_t height, const char* options, const char* film,
                                   int32_t* cap_px, int32_t* grain_px, MorvaError* err);

/*
 * Long side over short side, for a crop tool; 0 means any.
 *
 * frame_aspect   of the frame that the options choose, or of the card.
 * forced_aspect  of an instant card that takes no other picture.
 */
MORVA_API int32_t morva_crop_aspects(const char* options, const char* film, double* frame_aspect,
                                     double* forced_aspect, MorvaError* err);

/*
 * The facts of a setting, for a panel of information: one JSON object on one line, without spaces.
 *
 * lens, paper     may be null or "": the facts of a lens or a paper that is not given are left out, and sizes
 *                 are those of a print on the film's own paper.
 * crop_w, crop_h  size of the crop in pixels; 0 or less means what the option `crop` leaves, and without it
 *                 the whole picture. A width or height below 1 counts as 1.
 * buf, cap        receives at most cap - 1 bytes and a NUL, a longer text cut; nothing when `buf` is null or
 *                 `cap` below 1. 32768 bytes hold any answer.
 *
 * Numbers that a profile makes endless come as null. Lengths on the film are micrometres or millimetres, those
 * on the sheet centimetres, pixels those of the raster that is developed unless told otherwise.
 *
 * Lens, when it is given and the film is not instant:
 *   stop         stops down from full aperture
 *   vig, swirl   shares, 0..1, of its vignetting and of its errors at the edge of the field that are left there
 *   residual     share of the vignetting that no stop takes away
 *
 * Film:
 *   window       what of the film the picture takes, an object: long_mm and short_mm, its sides; exact, whether
 *                it is the whole gate of the frame; fmt, "135", "120", "sheet", "plate" or "instant"; size, the
 *                frame's name, "custom", a size of peel-apart film or null; fmt_um, the length of that frame;
 *                legacy, true when the options name no `frame_size`
 *   frame_sizes  names of the format's frames; not for instant film
 *   frame_frac   widest side of the rebate against the picture's long side; 0 for none
 *   tone         "neutral", or the colour of a plate's silver as three numbers R, G, B
 *   curves       densities, base and fog included, at 65 exposures of the film: point i lies at log10 exposure
 *                -3 + 0.09375 i relative to a mid grey's. An object:
 *                  negativeCurve      black and white: an array of 65
 *                  layersRGB          colour negative: three such arrays, R, G, B
 *                  positiveRGB        slide and instant film: likewise; they fall as light grows
 *                  plate              a wet plate, or one of the plates of three-colour photography
 *                  plateAndIntensify  a wet plate as `intensify` thickens it, when that is above 0, and
 *                  dmax_intensified   its greatest density, a number
 *                  plateAndPositive   three-colour photography: the positive made of that plate, falling
 *
 * Raster and grain; the grain, the last four, only where the film has some to show, never for instant film:
 *   long_px      long side of the raster, rebate included
 *   grow         how many times finer, each way, a print run or a tube is drawn before it is averaged back; 1
 *                without one
 *   long_grown   long side of that
 *   size_um      a clump of grains, or the spread of the classic engine's noise
 *   cell_px      that in pixels
 *   cell_grown   and in those of the finer raster
 *   resolved     whether single grains show; else a pixel averages over them
 *
 * Print:
 *   print_cm     long side of the print; of an instant picture, of what its card shows
 *
 * Paper, when it is given:
 *   kind            "scan", "plate", or "" for a paper
 *   grade           in force; 2 on a paper that has but one
 *   print_ev        exposure of the print, stops
 *   exposure_shift  stops that development, or a plate to be seen as a positive, adds to the option `ev`
 *   paper_curve     densities of the paper at 65 exposures of its own, as above; falling for a reversal paper.
 *                   Only where a curve makes the print's tones: not for scanned or shown positives, plates seen
 *                   as positives and instant film
 *   through         densities of the paper at the film's 65 exposures, as it prints there: one array, or three
 *                   for three layers on colour paper. With `paper_curve`
 *
 * Print run or tube, when the paper has one that this film is shown through:
 *   raster       an object: name, "offset", "inkjet" or "crt"; period_um on the sheet, 0 for none; period_px;
 *                resolved, whether the picture's own pixels carry it; drawn, whether the finer raster does
 *   lines        of a tube: lines in the picture
 *   line_px      height of one
 *   lines_drawn  whether they are drawn singly
 *   has_mask     whether it has a mask
 *   pitch_mm     its pitch
 *   mask_px      that in pixels; 0 without a mask
 *   mask_drawn   whether it is drawn
 */
MORVA_API int32_t morva_rack_facts(const char* options, const char* film, const char* lens, const char* paper,
                                   int32_t width, int32_t height, int32_t crop_w, int32_t crop_h, char* buf,
                                   int32_t cap, MorvaError* err);

/*
 * The crop tool's questions. They touch no pixel, never fail for a number and may be asked while a render
 * runs.
 *
 * crop      x, y, w, h as fractions of the picture; absent (has_crop is 0, or a null pointer) means the whole
 *           picture, 0, 0, 1, 1. It may lie outside the picture.
 * angle     of the straightening, degrees: the crop stands upright and the picture turns under it, about the
 *           picture's centre, as morva_rot_offsets tells.
 * w, h      size of the picture, pixels.
 *
 * A crop with a number that is not finite counts as absent, such an angle or offset as 0, such a scale as 1; a
 * picture's side below 1 counts as 1. Numbers are bounded at 1e9, aspects to 1e-6..1e6, and parts of a crop
 * below 1e-12 count as 0, so that every answer is finite. Those that fill an array return 0, or 1 when it is
 * null.
 */

/* Where the crop's corners lie in the picture: x and y in pixels of the top left, top right, bottom right and
 * bottom left one. */
MORVA_API int32_t morva_crop_corners(const double crop[4], double angle, int32_t w, int32_t h,
                                     double corners[8]);

/* Whether all corners lie within the picture, or at most `tolerance_px` outside. */
MORVA_API bool morva_crop_fits(const double* crop, int32_t has_crop, double angle, int32_t w, int32_t h,
                               double tolerance_px);

/* The largest factor by which the crop can grow about its centre and keep its corners in the picture: 0 when
 * its centre lies outside, 1 for a crop without size. */
MORVA_API double morva_crop_max_scale(const double* crop, int32_t has_crop, double angle, int32_t w,
                                      int32_t h);

/* The crop `scale` times as large about its centre, but its short side at least `min_px` pixels. Not limited
 * from above. */
MORVA_API int32_t morva_crop_scale(const double* crop, int32_t has_crop, double scale, int32_t w, int32_t h,
                                   int32_t min_px, double out[4]);

/* The crop, or `previous` where that is not null, scaled about its centre so that it fits at `angle`; it grows
 * only when `allow_grow` is not 0, and keeps 64 pixels on its short side even where that does not fit. */
MORVA_API int32_t morva_crop_fit_to_angle(const double* crop, int32_t has_crop, double angle, int32_t w,
                                          int32_t h, int32_t allow_grow, const double* previous,
                                          double out[4]);

/* The largest crop of `aspect` (width over height in pixels; 0 or less means the crop's own) about the
 * present centre; without an angle it moves where that makes room. */
MORVA_API int32_t morva_crop_expand(const double* crop, int32_t has_crop, int32_t w, int32_t h, double aspect,
                                    double angle, double out[4]);

/* An offset from the picture's centre, y pointing down, turned to where it lies in the source:
 * out = (x cos + y sin, y cos - x sin). */
MORVA_API int32_t morva_rot_offsets(double x, double y, double angle, double out[2]);

/* The smallest angle, -45..45 degrees, that makes the line from (x1, y1) to (x2, y2) level or plumb. */
MORVA_API double morva_straighten_angle(double x1, double y1, double x2, double y2);

/* Measures height * width * 3 samples of linear light. `out` is zeroed first and stays so for a null `rgb` or
 * a size below 1. */
MORVA_API void morva_source_stats(const float* rgb, int32_t width, int32_t height, MorvaSourceStats* out);

/*
 * The gain that a host passes as the option `_source_gain`, 0.25 to 64, by `mode`:
 * "auto"        brings the median to 0.15; so does every other word, and null
 * "highlights"  the same, but the 99.5th percentile stays at 0.9 or below
 * "shadows"     the same, but the 10th percentile comes to 0.045 or above
 * "as_shot"     1.44, whatever the picture
 * Null `stats` count as a black picture, which gives 1.
 */
MORVA_API double morva_source_gain(const char* mode, const MorvaSourceStats* stats);

/*
 * The GPU. Renders run on the CPU until a host selects a GPU backend by morva_set_backend or
 * morva_gpu_probe; the sheet is then the same but for the draws of the grain, and the same bytes for the same
 * seed on the same device. A device that goes away in a render is replaced and the render run again, unseen
 * but for morva_gpu_generation; a second loss within two minutes gives the GPU up: renders fail with
 * MORVA_GPU_LOST until morva_gpu_retry succeeds or the CPU is selected.
 */

/* Why a device was lost. */
enum {
  MORVA_LOSS_NONE = 0,
  MORVA_LOSS_HUNG = 1,
  MORVA_LOSS_RESET = 2,
  MORVA_LOSS_REMOVED = 3,
  MORVA_LOSS_DRIVER_ERROR = 4,
  MORVA_LOSS_OUT_OF_MEMORY = 5 /* the device is still there */
};

typedef struct MorvaGpuProbe {
  int32_t status;      /* 0 ready; 1 no hardware adapter; 2 none that can be used; 3 failed, see `error` */
  char name[256];      /* of the adapter in use */
  char adapters[1024]; /* hardware adapters, joined by "; " */
  char error[1024];
} MorvaGpuProbe;

typedef struct MorvaGpuState {
  uint32_t generation;      /* devices built after a loss or a retry */
  uint32_t lost;            /* 1: given up until morva_gpu_retry */
  uint32_t recoveries;      /* devices replaced by themselves since this was last read */
  uint32_t reason;          /* MORVA_LOSS_... of the last loss */
  uint32_t hresult;         /* of the call that failed */
  uint64_t requested_bytes; /* of an allocation that failed twice, else 0 */
  uint64_t available_bytes;
  char report[4096]; /* what the device was doing, lines of text */
} MorvaGpuState;

typedef struct MorvaGpuStats {
  /* Bytes; safe to read while a render runs. Budgets are 0 where the system does not tell. */
  uint64_t local_budget;
  uint64_t local_usage;
  uint64_t shared_budget;
  uint64_t shared_usage;
  uint64_t pool_free_bytes;
  uint64_t pool_total_bytes;
  uint64_t pending_dispatches; /* recorded and not yet handed over */
  /* Of the last render; zero while one runs. */
  uint32_t submits;
  double longest_submit_ms; /* with profiling on */
  double longest_dispatch_ms;
  char longest_dispatch[128];
  char longest_submit[128];
} MorvaGpuStats;

/* Selects "cpu" (as do "" and null), "gpu", the fastest hardware adapter, or "gpu-warp", the device that runs
 * on the CPU. MORVA_BAD_ARGUMENT for another name, which changes nothing; MORVA_FAILED when there is no such
 * device, which leaves the CPU. Waits for a render to end. */
MORVA_API int32_t morva_set_backend(const char* name, MorvaError* err);

/* "CPU", or what the GPU in use is. Returns 0. */
MORVA_API int32_t morva_backend_name(char* buf, int32_t cap);

/* The CPU renders again and the device is given back to the system. */
MORVA_API void morva_release_gpu(void);

/* Looks for hardware, selects it, builds every kernel, so that no render has to, and sends numbers there and
 * back. Returns 1 for a null `out`, else 0: `status` tells the outcome. */
MORVA_API int32_t morva_gpu_probe(MorvaGpuProbe* out);

/* Never waits for a render. Reading clears `recoveries`. */
MORVA_API void morva_gpu_state(MorvaGpuState* out);

/* Never waits for a render. */
MORVA_API void morva_gpu_stats(MorvaGpuStats* out);

/* A new hardware device in place of the one given up; nothing while the CPU is selected. Returns 0 or
 * MORVA_GPU_LOST. */
MORVA_API int32_t morva_gpu_retry(MorvaError* err);

/* Counts the devices built after a loss or a retry. A view made on an earlier one is dead. */
MORVA_API uint32_t morva_gpu_generation(void);

/* The debug layer's warnings and errors since the last call, a line each, where the variable
 * MORVA_DX12_DEBUG asked for that layer. Returns their number; all are forgotten, read or not. */
MORVA_API int32_t morva_gpu_debug_messages(char* buf, int32_t cap);

/*
 * Faults for tests, to be set between renders, but 7 at any time. `kind`:
 *   0   clear all           1   remove the device at dispatch `value`   2   throw at dispatch `value`
 *   3   keep no free buffers, where `value` is not 0                     4   allocation `value` fails
 *   5   milliseconds of a list, 6 of a dispatch, above which they are cut; 0 or less: never
 *   7   forget all losses   8   allocations from `value` on fail        9   allocations so far
 *   10  what 4 has left     more: nothing
 * Returns the number asked for by 9 and 10, else 0.
 */
MORVA_API int32_t morva_gpu_test_hook(uint32_t kind, int32_t value);

/* Whether renders on the GPU leave a report; off at first. Returns 0. */
MORVA_API int32_t morva_set_profiling(int32_t on);

/* Where the time of the last such render went, as Markdown, in Russian. Copies at most `cap` - 1 bytes and a NUL;
 * returns the whole text's length, so that a null `buf` asks for the size. */
MORVA_API int32_t morva_profile_report(char* buf, int32_t cap);

/*
 * The view: a picture that the GPU in use places, zooms and turns for an interactive preview, without
 * sending it anew for each step. A view works beside renders, on whatever thread calls it; its calls wait for
 * each other and for the work that the GPU has in hand, never for a whole render.
 *
 * A view outlives renders and changes of backend, but not its device: once that is lost every call answers
 * MORVA_GPU_LOST, and the host destroys the view. A loss that a view meets first is mended by the next render or
 * by morva_gpu_retry, which raises morva_gpu_generation: make the new view after that. MORVA_GPU_LOST is also
 * the answer where the GPU has no memory for a picture or an output; the view then stays as it was, and so does
 * the generation. Other failures are MORVA_BAD_ARGUMENT for a null view and MORVA_FAILED.
 */
typedef struct MorvaView MorvaView;

/*
 * A view without a picture and an output of 8 x 8 pixels in `*out`, which the host destroys. It is read back
 * by morva_view_readback. `with_swap_chain` asks for a chain that the system's compositor shows, told in
 * `*swap_chain_out` (which may be null) and owned by the view; where the library has none, as here, that is
 * MORVA_FAILED. MORVA_BAD_ARGUMENT for a null `out` or while no GPU backend is selected. Both outputs are
 * null after a failure.
 */
MORVA_API int32_t morva_view_create(int32_t with_swap_chain, MorvaView** out, void** swap_chain_out,
                                    MorvaError* err);

/* Null is allowed. No other call on the view may be running or follow. */
MORVA_API void morva_view_destroy(MorvaView* view);

/* h * w * 3 samples of linear light, free when the call returns. Null, or a size below 1, takes the picture
 * away. */
MORVA_API int32_t morva_view_set_image(MorvaView* view, const float* rgb, int32_t w, int32_t h,
                                       MorvaError* err);

/* The output's size in pixels; a side below 1 counts as 1. The scales undo a display's own on a swap chain and
 * mean nothing without one. An output of a new size is transparent black until it is drawn. */
MORVA_API int32_t morva_view_resize(MorvaView* view, int32_t w, int32_t h, float scale_x, float scale_y,
                                    MorvaError* err);

/*
 * Draws the picture and waits until it is drawn.
 * scale       output pixels for one of the picture; 0 or less counts as 1. Below 1 up to 8 x 8 samples are
 *             averaged, from 1 it is interpolated, from 2 on the picture's pixels keep hard edges
 * x, y        where its upper left corner lies on the output, pixels, before it is turned
 * angle_deg   about its centre, clockwise
 * background  0xRRGGBB, already encoded for the display
 * Numbers that are not finite count as 1 for the scale, as 0 else.
 */
MORVA_API int32_t morva_view_draw(MorvaView* view, float scale, float x, float y, float angle_deg,
                                  uint32_t background, MorvaError* err);

/* The last drawing, encoded for an sRGB display: rows of four bytes a pixel, R, G, B and 255. MORVA_FAILED,
 * with nothing written, where `dst` is null or `dst_bytes` below 4 * width * height of the output. */
MORVA_API int32_t morva_view_readback(MorvaView* view, void* dst, int32_t dst_bytes, MorvaError* err);

#ifdef __cplusplus
}
#endif

#endif /* MORVA_H */
