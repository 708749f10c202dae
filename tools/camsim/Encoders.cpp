#include "Encoders.h"

#include <cmath>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

#include "TestPicture.h"

namespace camsim {
namespace {

std::string averror(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {0};
    av_strerror(code, text, sizeof text);
    return text;
}

}  // namespace

Encoder::~Encoder() {
    av_packet_free(&packet_);
    av_frame_free(&frame_);
    avcodec_free_context(&context_);
}

bool Encoder::encode(std::vector<std::vector<uint8_t>>& out) {
    if (avcodec_send_frame(context_, frame_) < 0) return false;
    for (;;) {
        int result = avcodec_receive_packet(context_, packet_);
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return true;
        if (result < 0) return false;
        out.emplace_back(packet_->data, packet_->data + packet_->size);
        av_packet_unref(packet_);
    }
}

std::unique_ptr<VideoEncoder> VideoEncoder::open(bool mjpeg, const Options& o, std::string& error) {
    const AVCodec* codec = mjpeg ? avcodec_find_encoder(AV_CODEC_ID_MJPEG) : avcodec_find_encoder_by_name("libx264");
    if (codec == nullptr) {
        error = mjpeg ? "libavcodec has no MJPEG encoder" : "libavcodec has no libx264 encoder";
        return nullptr;
    }
    std::unique_ptr<VideoEncoder> e(new VideoEncoder());
    e->fps_ = o.fps;
    e->fullRange_ = mjpeg;
    e->grain_ = o.grain;
    e->context_ = avcodec_alloc_context3(codec);
    e->frame_ = av_frame_alloc();
    e->packet_ = av_packet_alloc();
    AVCodecContext* c = e->context_;
    c->width = o.width;
    c->height = o.height;
    c->time_base = AVRational{1, o.fps};
    c->framerate = AVRational{o.fps, 1};
    c->thread_count = 1;  // one slice per picture, modest CPU
    c->max_b_frames = 0;
    AVDictionary* settings = nullptr;
    if (mjpeg) {
        c->pix_fmt = AV_PIX_FMT_YUVJ420P;
        c->color_range = AVCOL_RANGE_JPEG;
        c->flags |= AV_CODEC_FLAG_QSCALE;
        c->global_quality = FF_QP2LAMBDA * 5;
        // The receiver rebuilds the headers from the standard Huffman tables
        // and the two quantisation tables carried in each frame.
        av_dict_set(&settings, "huffman", "default", 0);
        av_dict_set(&settings, "force_duplicated_matrix", "1", 0);
    } else {
        c->pix_fmt = AV_PIX_FMT_YUV420P;
        c->bit_rate = static_cast<int64_t>(o.bitrateKbps) * 1000;
        c->rc_max_rate = c->bit_rate;
        c->rc_buffer_size = static_cast<int>(c->bit_rate);
        c->gop_size = o.fps;
        av_dict_set(&settings, "preset", "veryfast", 0);
        av_dict_set(&settings, "tune", "zerolatency", 0);
        const std::string keyint = std::to_string(o.fps);
        const std::string params = "slices=1:sliced-threads=0:repeat-headers=1:annexb=1:aud=0:bframes=0:scenecut=0:"
                                   "keyint=" + keyint + ":min-keyint=" + keyint;
        av_dict_set(&settings, "x264-params", params.c_str(), 0);
    }
    int result = avcodec_open2(c, codec, &settings);
    av_dict_free(&settings);
    if (result < 0) {
        error = std::string("cannot open the ") + codec->name + " encoder: " + averror(result);
        return nullptr;
    }
    e->frame_->format = c->pix_fmt;
    e->frame_->width = c->width;
    e->frame_->height = c->height;
    if ((result = av_frame_get_buffer(e->frame_, 0)) < 0) {
        error = "cannot allocate a picture: " + averror(result);
        return nullptr;
    }
    return e;
}

bool VideoEncoder::encodeNext(std::vector<std::vector<uint8_t>>& out) {
    if (av_frame_make_writable(frame_) < 0) return false;
    drawTestPicture(frame_, index_, fps_, fullRange_);
    if (grain_ > 0) addGrain(frame_, index_, grain_);
    frame_->pts = index_;
    // Every stream starts with a key frame.
    frame_->pict_type = index_ == 0 ? AV_PICTURE_TYPE_I : AV_PICTURE_TYPE_NONE;
    ++index_;
    return encode(out);
}

std::unique_ptr<AudioEncoder> AudioEncoder::open(std::string& error) {
    const AVCodec* codec = avcodec_find_encoder(AV_CODEC_ID_AAC);
    if (codec == nullptr) {
        error = "libavcodec has no AAC encoder";
        return nullptr;
    }
    std::unique_ptr<AudioEncoder> e(new AudioEncoder());
    e->context_ = avcodec_alloc_context3(codec);
    e->frame_ = av_frame_alloc();
    e->packet_ = av_packet_alloc();
    AVCodecContext* c = e->context_;
    c->sample_fmt = AV_SAMPLE_FMT_FLTP;
    c->sample_rate = kSampleRate;
    av_channel_layout_default(&c->ch_layout, 2);
    c->bit_rate = 128000;
    c->profile = FF_PROFILE_AAC_LOW;
    c->time_base = AVRational{1, kSampleRate};
    int result = avcodec_open2(c, codec, nullptr);
    if (result < 0) {
        error = "cannot open the AAC encoder: " + averror(result);
        return nullptr;
    }
    e->frame_->format = c->sample_fmt;
    e->frame_->sample_rate = c->sample_rate;
    e->frame_->nb_samples = c->frame_size > 0 ? c->frame_size : kSamplesPerUnit;
    av_channel_layout_copy(&e->frame_->ch_layout, &c->ch_layout);
    if ((result = av_frame_get_buffer(e->frame_, 0)) < 0) {
        error = "cannot allocate audio samples: " + averror(result);
        return nullptr;
    }
    return e;
}

// A 1 kHz beep of 200 ms at the start of every second; left and right a
// fifth apart so that swapped channels can be heard.
bool AudioEncoder::encodeNext(std::vector<std::vector<uint8_t>>& out) {
    if (av_frame_make_writable(frame_) < 0) return false;
    auto* left = reinterpret_cast<float*>(frame_->data[0]);
    auto* right = reinterpret_cast<float*>(frame_->data[1]);
    for (int i = 0; i < frame_->nb_samples; ++i, ++sample_) {
        const long inSecond = sample_ % kSampleRate;
        const bool on = inSecond < kSampleRate / 5;
        const double t = static_cast<double>(sample_) / kSampleRate;
        left[i] = on ? static_cast<float>(0.25 * std::sin(2 * M_PI * 1000 * t)) : 0.0f;
        right[i] = on ? static_cast<float>(0.25 * std::sin(2 * M_PI * 1500 * t)) : 0.0f;
    }
    frame_->pts = sample_ - frame_->nb_samples;
    return encode(out);
}

}  // namespace camsim
