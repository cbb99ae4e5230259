#include "tools/accuracy/measure.hpp"

#include <atomic>
#include <bit>
#include <mutex>
#include <thread>

#include "tools/accuracy/ulp.hpp"

namespace ozk::accuracy {
namespace {

// The exact values carry 75 bits beyond double precision, so the error in ulp is known to about 2^-74 ulp.
constexpr mpfr_prec_t kExactBits = 128;

std::string decimal(mpfr_srcptr y) {
    char text[64];
    mpfr_snprintf(text, sizeof text, "%.20Rg", y);
    return text;
}

// The i-th block to run. A run over all singles begins all over their range: in their own order, the errors next to 0 rise
// with each argument, and each would be a new worst one, for MPFR to see.
template <class T>
int64_t in_turn(const Arguments<T>& arguments, int64_t i) {
    constexpr uint64_t kOdd = 0x9e3779b97f4a7c15;
    const auto blocks = static_cast<uint64_t>(arguments.blocks());
    if (!arguments.are_all() || !std::has_single_bit(blocks)) return i;
    return static_cast<int64_t>(static_cast<uint64_t>(i) * kOdd & (blocks - 1));
}

bool worse(const Worst& x, const Worst& y) { return x.ulp > y.ulp || (x.ulp == y.ulp && x.index < y.index); }

// The exact values of one block, and the subjects' results beside them.
template <class T>
class Worker {
  public:
    Worker(const Oracle& oracle, const Arguments<T>& arguments, const std::vector<Subject<T>>& subjects)
        : oracle_(oracle),
          arguments_(arguments),
          subjects_(subjects),
          found_(subjects.size()),
          right_(subjects.size()),
          results_(subjects.size() * 2 * kBlock) {}

    void run(int64_t block) {
        const int n = arguments_.fill(block, a_, b_);
        for (size_t s = 0; s < subjects_.size(); ++s)
            subjects_[s].call(n, a_, b_, result(s, 0), result(s, 1));
        for (int i = 0; i < n; ++i) {
            if (settled_in_double(i)) continue;
            set(xa_, a_[i]);
            set(xb_, b_[i]);
            const mpfr_ptr y[2] = {y_, y2_};
            const mpfr_srcptr x[2] = {xa_, xb_};
            oracle_.exact(y, x);
            const int results = oracle_.shape == Shape::kTwoResults ? 2 : 1;
            for (int k = 0; k < results; ++k)
                for (size_t s = 0; s < subjects_.size(); ++s)
                    keep(s, result(s, k)[i], y[k], block * kBlock + i, i);
        }
    }

    const std::vector<Accuracy>& found() const { return found_; }

  private:
    T* result(size_t subject, int which) {
        return results_.data() + (2 * subject + static_cast<size_t>(which)) * kBlock;
    }

    static void set(mpfr_ptr x, T value) {
        if constexpr (sizeof(T) == 4)
            mpfr_set_flt(x, value, MPFR_RNDN);
        else
            mpfr_set_d(x, value, MPFR_RNDN);
    }

    // Whether the double value decides all there is to know about argument i of an exhaustive run: what is
    // correctly rounded, and that no error is a new worst one.
    bool settled_in_double(int i) {
        if constexpr (sizeof(T) == 4) {
            constexpr double kSlack = 0x1p-20;  // of the errors
            if (!arguments_.are_all() || oracle_.in_double == nullptr) return false;
            const double y = oracle_.in_double(static_cast<double>(a_[i]));
            Judgement<T> judgement;
            for (size_t s = 0; s < subjects_.size(); ++s) {
                if (!judge_nearly(result(s, 0)[i], y, judgement)) return false;
                if (judgement.ulp * (1 + kSlack) + kSlack > found_[s].worst.ulp) return false;
                right_[s] = judgement.ulp == 0 || result(s, 0)[i] == judgement.rounded;
            }
            for (size_t s = 0; s < subjects_.size(); ++s) {
                ++found_[s].count;
                found_[s].correctly_rounded += right_[s];
            }
            return true;
        }
        return false;
    }

    void keep(size_t subject, T computed, mpfr_srcptr exact, int64_t index, int i) {
        Accuracy& found = found_[subject];
        const Judgement<T> judgement = judge(computed, exact, scratch_);
        ++found.count;
        found.correctly_rounded += computed == judgement.rounded || judgement.ulp == 0;
        if (judgement.ulp > found.worst.ulp ||
            (judgement.ulp == found.worst.ulp && index < found.worst.index))
            found.worst = {judgement.ulp,
                           index,
                           static_cast<double>(a_[i]),
                           static_cast<double>(b_[i]),
                           static_cast<double>(computed),
                           decimal(exact)};
    }

    const Oracle& oracle_;
    const Arguments<T>& arguments_;
    const std::vector<Subject<T>>& subjects_;
    std::vector<Accuracy> found_;
    std::vector<char> right_;  // settled_in_double's
    std::vector<T> results_;
    T a_[kBlock]{}, b_[kBlock]{};
    Real xa_{std::numeric_limits<T>::digits}, xb_{std::numeric_limits<T>::digits};
    Real y_{kExactBits}, y2_{kExactBits}, scratch_{kExactBits + 64};
};

}  // namespace

template <class T>
std::vector<Accuracy> measure(const Oracle& oracle, const Arguments<T>& arguments,
                              const std::vector<Subject<T>>& subjects, int threads,
                              const Progress& progress) {
    std::vector<Accuracy> total(subjects.size());
    std::atomic<int64_t> next = 0;
    std::mutex mutex;
    const int64_t blocks = arguments.blocks();
    const auto work = [&] {
        {
            Worker<T> worker(oracle, arguments, subjects);
            for (int64_t block; (block = next++) < blocks;) {
                worker.run(in_turn(arguments, block));
                if (std::unique_lock lock(mutex, std::try_to_lock); lock && progress)
                    progress(static_cast<double>(block) / static_cast<double>(blocks));
            }
            const std::lock_guard lock(mutex);
            for (size_t s = 0; s < total.size(); ++s) {
                const Accuracy& part = worker.found()[s];
                if (worse(part.worst, total[s].worst)) total[s].worst = part.worst;
                total[s].count += part.count;
                total[s].correctly_rounded += part.correctly_rounded;
            }
        }
        mpfr_free_cache();
    };
    std::vector<std::jthread> pool;
    for (int i = 1; i < threads; ++i) pool.emplace_back(work);
    work();
    pool.clear();  // joins
    return total;
}

template std::vector<Accuracy> measure(const Oracle&, const Arguments<float>&,
                                       const std::vector<Subject<float>>&, int, const Progress&);
template std::vector<Accuracy> measure(const Oracle&, const Arguments<double>&,
                                       const std::vector<Subject<double>>&, int, const Progress&);

}  // namespace ozk::accuracy
