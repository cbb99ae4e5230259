#include "api/elementwise.hpp"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <mutex>

#include "api/team.hpp"
#include "api/vector_state.hpp"
#include "simd/control.hpp"

namespace ozk::api {
namespace {

// Whole blocks of the kernels; arguments and results of a piece stay in the second-level cache, and a count
// of elements in a piece is a small number.
constexpr int64_t kPiece = 16384;
static_assert(kPiece % 16 == 0);

// A thread that has this many cycles of work, some ten microseconds, is worth waking.
constexpr double kLeastCyclesPerThread = 32768;
constexpr double kUnmeasuredCost = 8;

// While special elements are reported one by one, the team computes this many pieces a thread before the
// calling thread reports: it bounds the memory for reports.
constexpr int64_t kPiecesPerBatch = 4;

// ---- Collecting special elements ----------------------------------------------------------------------

struct Report {
    VmlErrorRecord record;
    int64_t index;  // in the whole vector
};

// What the effects of a call need of its special elements when they are not reported one by one.
struct Summary {
    int64_t first = INT64_MAX, last = -1;
    int32_t first_code = 0, last_code = 0;
    uint32_t codes = 0;  // a bit for each code

    void note(int64_t index, int32_t code) {
        if (index < first) first = index, first_code = code;
        if (index > last) last = index, last_code = code;
        codes |= 1u << code;
    }
    void merge(const Summary& other) {
        if (other.codes == 0) return;
        note(other.first, other.first_code);
        note(other.last, other.last_code);
        codes |= other.codes;
    }
};

struct Collector {
    int64_t first;    // index of the piece's first element
    Report* reports;  // room for one an element, or null
    // What the callback returns: 0 lets the kernel act on the element, 1 leaves it for later.
    int answer;
    int64_t count = 0;
    Summary summary = {};
};

thread_local Collector* collector = nullptr;

int collect(VmlErrorRecord* record) {
    const int64_t index = collector->first + record->index;
    collector->summary.note(index, record->code);
    if (collector->reports != nullptr) collector->reports[collector->count++] = {*record, index};
    return collector->answer;
}

// ---- The state of a thread that computes a piece ------------------------------------------------------

// The exception flags of both floating-point units: cleared at the start, and given back as they were.
class FlagScope {
  public:
    FlagScope() : mxcsr_(simd::read_mxcsr()), x87_(read_x87()) {
        simd::write_mxcsr(mxcsr_ & ~kFlags);
        if (x87_ != 0) simd::clear_x87_exceptions();
    }
    ~FlagScope() {
        simd::write_mxcsr(mxcsr_);
        if (read_x87() == x87_) return;
        simd::clear_x87_exceptions();
        if (x87_ == 0) return;
        simd::X87Environment environment = simd::read_x87_environment();
        environment.status |= x87_;
        simd::write_x87_environment(environment);
    }
    FlagScope(const FlagScope&) = delete;
    FlagScope& operator=(const FlagScope&) = delete;

    static constexpr uint32_t kFlags = 0x3F;
    uint32_t raised() const { return (simd::read_mxcsr() & kFlags) | read_x87(); }

  private:
    static uint16_t read_x87() {
        uint16_t status;
        asm volatile("fnstsw %0" : "=a"(status) : : "memory");
        return status & kFlags;
    }

    uint32_t mxcsr_;
    uint16_t x87_;
};

// Vector math state for one piece: the caller's accuracy and denormal handling, special elements to the
// collector. Everything is given back but the base pointer, which the kernels' state does not tell and pieces
// leave at null.
class PieceScope {
  public:
    PieceScope(const VectorControl& control, uint64_t caller_mode, Collector& piece_collector)
        : control_(control),
          mode_(control.get_mode()),
          status_(control.get_status()),
          callback_(control.get_callback()),
          errno_(errno),
          outer_(collector) {
        collector = &piece_collector;
        const bool silent = (caller_mode & kVmlErrorModeMask) == kVmlErrorNone;
        control.set_callback(collect);
        control.set_mode((restorable(caller_mode) & ~static_cast<uint32_t>(kVmlErrorModeMask)) |
                         (silent ? kVmlErrorNone : kVmlErrorCallback));
        control.set_base(nullptr);
    }
    ~PieceScope() {
        control_.set_callback(callback_);
        control_.set_mode(restorable(mode_));
        control_.set_status(status_);
        errno = errno_;
        collector = outer_;
    }
    PieceScope(const PieceScope&) = delete;
    PieceScope& operator=(const PieceScope&) = delete;

  private:
    const VectorControl& control_;
    uint64_t mode_;
    int32_t status_;
    VmlErrorCallBack callback_;
    int errno_;
    Collector* outer_;
};

// ---- Acting on special elements, on the calling thread ------------------------------------------------

// The library's own reporter: status, errno, message, flag, and a callback of the kernel level.
void act(const VectorControl& control, int32_t code, int64_t index, const char* name,
         ozk_special_value& value) {
    // Strides of zero: the four values stand where any index looks for them.
    OzkComplex16 argument[2], result[2];
    for (int k = 0; k < 2; ++k) {
        argument[k] = {value.argument[k].re, value.argument[k].im};
        result[k] = {value.result[k].re, value.result[k].im};
    }
    control.set_base(nullptr);
    control.report(code, static_cast<int32_t>(std::min<int64_t>(index, INT32_MAX)), &argument[0], 0,
                   &argument[1], 0, &result[0], 0, &result[1], 0, name);
    for (int k = 0; k < 2; ++k) value.result[k] = {result[k].re, result[k].im};
}

void store(const Operand& operand, int64_t index, ozk_complex_double value) {
    char* const place =
        static_cast<char*>(const_cast<void*>(operand.data)) + index * operand.stride * operand.size;
    switch (operand.element) {
        case Element::kFloat:
            *reinterpret_cast<float*>(place) = static_cast<float>(value.re);
            break;
        case Element::kDouble:
            *reinterpret_cast<double*>(place) = value.re;
            break;
        case Element::kComplexFloat:
            *reinterpret_cast<OzkComplex8*>(place) = {static_cast<float>(value.re),
                                                      static_cast<float>(value.im)};
            break;
        case Element::kComplexDouble:
            *reinterpret_cast<OzkComplex16*>(place) = {value.re, value.im};
            break;
    }
}

void report(const VectorControl& control, const ElementwiseCall& call, const Report& report) {
    const VmlErrorRecord& record = report.record;
    ozk_special_value value = {report.index,
                               record.code,
                               0,
                               call.function,
                               {{record.a1, record.a1_imaginary}, {record.a2, record.a2_imaginary}},
                               {{record.r1, record.r1_imaginary}, {record.r2, record.r2_imaginary}}};
    const SpecialHandler handler = special_handler();
    if (handler.function != nullptr && handler.function(&value, handler.context) != 0) return;
    act(control, record.code, report.index, record.name, value);
    int k = 0;
    for (const Operand& operand : call.operands) {
        if (operand.is_result) store(operand, report.index, value.result[k++]);
    }
}

void act_on_summary(const VectorControl& control, const Summary& summary) {
    ozk_special_value none = {};
    for (int32_t code = kVmlDomain; code <= kVmlUnderflow; ++code) {
        if ((summary.codes >> code & 1) != 0 && code != summary.last_code) act(control, code, 0, "", none);
    }
    if (summary.codes != 0) act(control, summary.last_code, 0, "", none);
}

// ---- The loop -----------------------------------------------------------------------------------------

struct Free {
    void operator()(void* block) const { std::free(block); }
};

struct Loop {
    const VectorControl& control;
    const ElementwiseCall& call;
    uint64_t mode;
    Report* reports;  // of the batch, or null
    int64_t* counts;  // of reports, of each piece of the batch
    int64_t first_piece = 0;
    uint32_t raised = 0;
    Summary summary = {};
    std::mutex lock{};  // of the two above

    void compute(int64_t piece) {
        const int64_t first = (first_piece + piece) * kPiece;
        const int32_t count = static_cast<int32_t>(std::min(kPiece, call.n - first));
        Collector piece_collector = {first, reports == nullptr ? nullptr : reports + piece * kPiece, 1};
        uint32_t flags;
        {
            const PieceScope state(control, mode, piece_collector);
            const FlagScope flag_scope;
            call.compute(call.context, first, count);
            flags = flag_scope.raised();
        }
        if (counts != nullptr) counts[piece] = piece_collector.count;
        const std::lock_guard guard(lock);
        raised |= flags;
        summary.merge(piece_collector.summary);
    }
};

int compute_piece(int64_t piece, int64_t, void* loop) {
    static_cast<Loop*>(loop)->compute(piece);
    return 0;
}

int64_t team_size(const ElementwiseCall& call) {
    const double cycles = static_cast<double>(call.n) * (call.cost > 0 ? call.cost : kUnmeasuredCost);
    if (cycles < 2 * kLeastCyclesPerThread) return 1;
    const double worth = cycles / kLeastCyclesPerThread;
    const int64_t limit = ozk_vsl_serv_threader_get_num_threads_limit();
    return worth < static_cast<double>(limit) ? static_cast<int64_t>(worth) : limit;
}

// One piece on the calling thread, under its own state: the kernel itself acts on special elements, and the
// collector looks on.
ozk_status run_piece(const VectorControl& control, const ElementwiseCall& call, uint64_t mode) {
    const auto count = static_cast<int32_t>(call.n);
    if ((mode & kVmlErrorModeMask) == kVmlErrorNone) {
        call.compute(call.context, 0, count);
        return kOzkOk;
    }
    Collector whole = {0, nullptr, 0};
    Collector* const outer = std::exchange(collector, &whole);
    control.set_base(nullptr);
    control.set_callback(collect);
    call.compute(call.context, 0, count);
    control.set_callback(nullptr);
    control.set_mode(restorable(mode));
    collector = outer;
    return whole.summary.first_code;
}

}  // namespace

ozk_status run(const ElementwiseCall& call, uint64_t mode) {
    if (call.n == 0) return kOzkOk;
    const VectorControl& control = vector_control();
    const uint64_t error_mode = mode & kVmlErrorModeMask;
    const bool has_callback = special_handler().function != nullptr || control.get_callback() != nullptr;
    const int64_t pieces = (call.n + kPiece - 1) / kPiece;
    if (pieces == 1 && !has_callback) return run_piece(control, call, mode);

    const bool one_by_one =
        error_mode != kVmlErrorNone && (has_callback || (error_mode & kVmlErrorStderr) != 0);
    const TeamScope team_scope;
    const int64_t team = pieces == 1 ? 1 : team_size(call);
    const int64_t batch = one_by_one ? std::min(pieces, team * kPiecesPerBatch) : pieces;

    // Before anything is written; what no special element uses is never touched.
    std::unique_ptr<Report[], Free> reports;
    std::unique_ptr<int64_t[], Free> counts;
    if (one_by_one) {
        const int64_t elements = std::min(batch * kPiece, call.n);
        reports.reset(static_cast<Report*>(std::malloc(static_cast<size_t>(elements) * sizeof(Report))));
        counts.reset(static_cast<int64_t*>(std::malloc(static_cast<size_t>(batch) * sizeof(int64_t))));
        if (reports == nullptr || counts == nullptr) throw std::bad_alloc();
    }

    Loop loop = {control, call, mode, reports.get(), counts.get()};
    for (; loop.first_piece < pieces; loop.first_piece += batch) {
        const int64_t count = std::min(batch, pieces - loop.first_piece);
        ozk_vsl_serv_threader_for(count, team, &loop, compute_piece);
        if (!one_by_one) continue;
        for (int64_t piece = 0; piece < count; ++piece) {
            for (int64_t k = 0; k < counts[piece]; ++k) report(control, call, reports[piece * kPiece + k]);
        }
    }
    simd::write_mxcsr(simd::read_mxcsr() | loop.raised);
    if (!one_by_one) act_on_summary(control, loop.summary);
    return loop.summary.first_code;
}

// ---- Checks of the arrays -----------------------------------------------------------------------------

namespace {

struct Range {
    intptr_t first, end;  // bytes
};

Range range(const Operand& operand, int64_t n) {
    const intptr_t start = reinterpret_cast<intptr_t>(operand.data);
    const intptr_t last = start + (n - 1) * operand.stride * operand.size;
    return {std::min(start, last), std::max(start, last) + operand.size};
}

// Whether computing element after element, in any order, may use both arrays: they are apart, they are one
// array, or the elements of one lie in the gaps of the other.
bool compatible(const Operand& a, const Operand& b, int64_t n) {
    const Range ra = range(a, n), rb = range(b, n);
    if (ra.end <= rb.first || rb.end <= ra.first) return true;
    const int64_t step = std::abs(a.stride) * a.size;
    if (a.data == b.data && a.size == b.size && (a.stride == b.stride || n == 1))
        return !(a.is_result && b.is_result);
    if (step != std::abs(b.stride) * b.size || step == 0) return false;
    const int64_t offset = ((rb.first - ra.first) % step + step) % step;
    return offset >= a.size && offset <= step - b.size;
}

}  // namespace

void check_operands(int64_t n, std::span<const Operand> operands) {
    require(n >= 0, kOzkCodeSize, "The length is negative: pass the number of elements.");
    if (n == 0) return;
    for (const Operand& operand : operands) {
        require(operand.data != nullptr, kOzkCodeNull,
                "An array is null: pass one with as many elements as the length.");
        require(operand.stride >= INT32_MIN && operand.stride <= INT32_MAX, kOzkCodeStride,
                "A stride is outside 32 bits: pass a smaller one.");
        require(operand.stride != 0 || !operand.is_result || n == 1, kOzkCodeStride,
                "A result's stride is zero: pass one that tells its elements apart.");
        int64_t extent;
        require(!__builtin_mul_overflow(n, std::abs(operand.stride) * operand.size, &extent), kOzkCodeSize,
                "The length is larger than an array can be.");
    }
    for (const Operand& result : operands) {
        if (!result.is_result) continue;
        for (const Operand& other : operands) {
            require(&other == &result || compatible(result, other, n), kOzkCodeOverlap,
                    "A result overlaps another array: pass exactly the argument array, or one apart.");
        }
    }
}

}  // namespace ozk::api
