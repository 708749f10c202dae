// Decoding, picture encoding and muxing with libavcodec, libswscale and
// libavformat.
#include <chrono>
#include <cstring>
#include <fstream>
#include <vector>

#include "Media.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavcodec/bsf.h>
#include <libavformat/avformat.h>
#include <libavutil/imgutils.h>
#include <libswscale/swscale.h>
}

namespace kovo::cli {
namespace {

// How long a recording waits for the first audio frame before it decides
// the stream has none.
constexpr int kAudioWaitFrames = 50;

// No notes about pixel formats and the like on the tool's standard error.
const bool kQuietLibraries = (av_log_set_level(AV_LOG_ERROR), true);

template <typename T, void (*Free)(T**)>
struct Owned {
    T* p = nullptr;
    Owned() = default;
    explicit Owned(T* value) : p(value) {}
    ~Owned() { if (p) Free(&p); }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    T* operator->() const { return p; }
    T* get() const { return p; }
};
using CodecContext = Owned<AVCodecContext, avcodec_free_context>;
using Packet = Owned<AVPacket, av_packet_free>;
using Picture = Owned<AVFrame, av_frame_free>;

std::string avError(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    return text;
}

[[noreturn]] void mediaError(const std::string& what, int code) {
    throw Failure(kExitCamera, what + ": " + avError(code));
}

void check(int code, const std::string& what) {
    if (code < 0) mediaError(what, code);
}

AVCodecID codecOf(const Frame& frame) {
    switch (frame.type) {
    case H264DATA_TYPE: return AV_CODEC_ID_H264;
    case MJPEGDATA_TYPE: return AV_CODEC_ID_MJPEG;
    default: return AV_CODEC_ID_AAC;
    }
}

void fillPacket(AVPacket* packet, const Frame& frame) {
    check(av_new_packet(packet, static_cast<int>(frame.data.size())), "packet");
    std::memcpy(packet->data, frame.data.data(), frame.data.size());
    if (frame.key || !frame.video()) packet->flags |= AV_PKT_FLAG_KEY;
}

// The picture (or audio block) of one whole frame.
void decode(const Frame& frame, AVFrame* out) {
    const AVCodec* codec = avcodec_find_decoder(codecOf(frame));
    if (codec == nullptr) throw Failure(kExitUsage, "libavcodec has no decoder for this stream");
    CodecContext context(avcodec_alloc_context3(codec));
    check(avcodec_open2(context.get(), codec, nullptr), "opening the decoder");
    Packet packet(av_packet_alloc());
    fillPacket(packet.get(), frame);
    check(avcodec_send_packet(context.get(), packet.get()), "decoding");
    avcodec_send_packet(context.get(), nullptr);  // drain: the frame is whole
    check(avcodec_receive_frame(context.get(), out), "decoding");
}

std::string extension(const std::string& path) {
    const size_t dot = path.rfind('.');
    std::string ext = dot == std::string::npos ? "" : path.substr(dot + 1);
    for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return ext;
}

// Converts the picture to the encoder's pixel format and encodes it alone.
std::vector<unsigned char> encodePicture(const AVFrame* picture, AVCodecID id, AVPixelFormat format) {
    const AVCodec* codec = avcodec_find_encoder(id);
    if (codec == nullptr) throw Failure(kExitUsage, "libavcodec has no encoder for this picture format");
    CodecContext context(avcodec_alloc_context3(codec));
    context->width = picture->width;
    context->height = picture->height;
    context->pix_fmt = format;
    context->time_base = AVRational{1, 25};
    context->flags |= AV_CODEC_FLAG_QSCALE;  // a fixed, high quality rather than a bit rate
    check(avcodec_open2(context.get(), codec, nullptr), "opening the encoder");

    Picture converted(av_frame_alloc());
    converted->width = picture->width;
    converted->height = picture->height;
    converted->format = format;
    converted->quality = FF_QP2LAMBDA * 2;
    check(av_frame_get_buffer(converted.get(), 0), "picture buffer");
    SwsContext* scaler = sws_getContext(picture->width, picture->height, static_cast<AVPixelFormat>(picture->format),
                                        picture->width, picture->height, format, SWS_BICUBIC, nullptr, nullptr, nullptr);
    if (scaler == nullptr) throw Failure(kExitCamera, "cannot convert the picture");
    sws_scale(scaler, picture->data, picture->linesize, 0, picture->height, converted->data, converted->linesize);
    sws_freeContext(scaler);

    check(avcodec_send_frame(context.get(), converted.get()), "encoding");
    avcodec_send_frame(context.get(), nullptr);
    Packet packet(av_packet_alloc());
    check(avcodec_receive_packet(context.get(), packet.get()), "encoding");
    return std::vector<unsigned char>(packet->data, packet->data + packet->size);
}

// .mp4 / .mkv through libavformat. Frames wait until the first key frame and
// the first audio frame (or enough video without audio) have fixed the streams.
class MuxedFile : public FrameSink {
public:
    explicit MuxedFile(const std::string& path) : path_(path) {
        check(avformat_alloc_output_context2(&format_, nullptr, nullptr, path.c_str()), path);
    }
    ~MuxedFile() override {
        try {
            close();
        } catch (...) {
        }
        avformat_free_context(format_);
    }

    void write(const Frame& frame) override {
        if (started_) return writePacket(frame);
        if (pending_.empty() && !(frame.video() && frame.key)) return;  // start on a key frame
        pending_.push_back(frame);
        if (!frame.video()) sawAudio_ = true;
        if (sawAudio_ || pending_.size() >= kAudioWaitFrames) start();
    }

    void close() override {
        if (closed_) return;
        closed_ = true;
        if (!started_ && !pending_.empty()) start();
        if (!started_) return;
        if (heldVideo_.get() != nullptr) {
            heldVideo_->duration = videoDuration_;
            writeHeldVideo();
        }
        check(av_write_trailer(format_), "finishing " + path_);
        avio_closep(&format_->pb);
    }

private:
    void start() {
        started_ = true;
        const Frame& first = pending_.front();
        Picture picture(av_frame_alloc());
        decode(first, picture.get());
        video_ = avformat_new_stream(format_, nullptr);
        video_->codecpar->codec_type = AVMEDIA_TYPE_VIDEO;
        video_->codecpar->codec_id = codecOf(first);
        video_->codecpar->width = picture->width;
        video_->codecpar->height = picture->height;
        video_->time_base = kVideoClock;
        start_ = fileTimeUs(first);
        if (first.type == H264DATA_TYPE) setParameterSets(first);
        for (const Frame& frame : pending_)
            if (!frame.video()) {
                Picture block(av_frame_alloc());
                decode(frame, block.get());
                audio_ = avformat_new_stream(format_, nullptr);
                audio_->codecpar->codec_type = AVMEDIA_TYPE_AUDIO;
                audio_->codecpar->codec_id = AV_CODEC_ID_AAC;
                audio_->codecpar->sample_rate = block->sample_rate;
                check(av_channel_layout_copy(&audio_->codecpar->ch_layout, &block->ch_layout), "audio layout");
                audio_->codecpar->frame_size = block->nb_samples;
                audio_->time_base = AVRational{1, block->sample_rate};
                break;
            }
        check(avio_open(&format_->pb, path_.c_str(), AVIO_FLAG_WRITE), path_);
        check(avformat_write_header(format_, nullptr), "writing " + path_);
        for (const Frame& frame : pending_) writePacket(frame);
        pending_.clear();
    }

    // The SPS and PPS of the first key frame become the stream's extradata.
    void setParameterSets(const Frame& keyFrame) {
        const AVBitStreamFilter* filter = av_bsf_get_by_name("extract_extradata");
        AVBSFContext* bsf = nullptr;
        if (filter == nullptr || av_bsf_alloc(filter, &bsf) < 0) return;
        bsf->par_in->codec_id = AV_CODEC_ID_H264;
        Packet packet(av_packet_alloc());
        fillPacket(packet.get(), keyFrame);
        if (av_bsf_init(bsf) >= 0 && av_bsf_send_packet(bsf, packet.get()) >= 0 &&
            av_bsf_receive_packet(bsf, packet.get()) >= 0) {
            size_t size = 0;
            const uint8_t* sets = av_packet_get_side_data(packet.get(), AV_PKT_DATA_NEW_EXTRADATA, &size);
            if (sets != nullptr && size > 0) {
                video_->codecpar->extradata = static_cast<uint8_t*>(av_mallocz(size + AV_INPUT_BUFFER_PADDING_SIZE));
                std::memcpy(video_->codecpar->extradata, sets, size);
                video_->codecpar->extradata_size = static_cast<int>(size);
            }
        }
        av_bsf_free(&bsf);
    }

    // Each medium's clock is tied to this host's once, at its first frame;
    // a frame's place in the file is its time on that clock less the first
    // video frame's. The media then keep their own pace and stay in step.
    long long fileTimeUs(const Frame& frame) {
        long long& anchor = frame.video() ? videoAnchor_ : audioAnchor_;
        const long long arrivalUs =
            std::chrono::duration_cast<std::chrono::microseconds>(frame.arrival.time_since_epoch()).count();
        if (anchor == kUnset) anchor = arrivalUs - frame.ptsUs;
        return anchor + frame.ptsUs - start_;
    }

    void writePacket(const Frame& frame) {
        AVStream* stream = frame.video() ? video_ : audio_;
        const long long timeUs = fileTimeUs(frame);
        if (stream == nullptr || timeUs < 0) return;  // audio without a stream, or from before the file began
        Packet packet(av_packet_alloc());
        fillPacket(packet.get(), frame);
        packet->stream_index = stream->index;
        packet->pts = av_rescale_q(timeUs, AVRational{1, 1000000}, stream->time_base);
        long long& last = frame.video() ? lastVideo_ : lastAudio_;
        if (packet->pts <= last) packet->pts = last + 1;  // never backwards, whatever the clocks did
        packet->dts = last = packet->pts;
        if (!frame.video()) {
            packet->duration = av_rescale_q(stream->codecpar->frame_size, AVRational{1, stream->codecpar->sample_rate},
                                            stream->time_base);
            check(av_interleaved_write_frame(format_, packet.get()), "writing " + path_);
            return;
        }
        // A video frame lasts until the next one: it is written when that comes.
        if (heldVideo_.get() != nullptr) {
            heldVideo_->duration = packet->pts - heldVideo_->pts;
            videoDuration_ = heldVideo_->duration;
            writeHeldVideo();
        }
        heldVideo_.p = packet.p;
        packet.p = nullptr;
    }

    void writeHeldVideo() {
        check(av_interleaved_write_frame(format_, heldVideo_.get()), "writing " + path_);
        av_packet_free(&heldVideo_.p);
    }

    static constexpr long long kUnset = -(1LL << 62);
    static constexpr AVRational kVideoClock{1, 90000};

    std::string path_;
    AVFormatContext* format_ = nullptr;
    AVStream* video_ = nullptr;
    AVStream* audio_ = nullptr;
    std::vector<Frame> pending_;
    bool sawAudio_ = false, started_ = false, closed_ = false;
    long long videoAnchor_ = kUnset, audioAnchor_ = kUnset, start_ = 0;
    long long lastVideo_ = -1, lastAudio_ = -1;
    Packet heldVideo_;
    long long videoDuration_ = 0;
};

std::string writePicture(const Frame& frame, const std::string& path) {
    Picture picture(av_frame_alloc());
    decode(frame, picture.get());
    const std::string ext = extension(path);
    const bool png = ext == "png";
    const auto bytes = encodePicture(picture.get(), png ? AV_CODEC_ID_PNG : AV_CODEC_ID_MJPEG,
                                     png ? AV_PIX_FMT_RGB24 : AV_PIX_FMT_YUVJ420P);
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file) throw Failure(kExitUsage, "cannot write " + path);
    return std::to_string(picture->width) + "x" + std::to_string(picture->height);
}

std::unique_ptr<FrameSink> openMuxedFile(const std::string& path) { return std::make_unique<MuxedFile>(path); }

const MediaModule kModule = {writePicture, openMuxedFile};

}  // namespace
}  // namespace kovo::cli

extern "C" __attribute__((visibility("default"))) const kovo::cli::MediaModule* kovo_media_module() {
    return &kovo::cli::kModule;
}
