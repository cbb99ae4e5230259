// What has a name of its own in each precision.
#pragma once

#include "ozk_df.h"

namespace ozk::df {

template <class T>
struct Precision;

template <>
struct Precision<float> {
    using CellCallback = DfsCellCallback;
    using SiteCallback = DfsSiteCallback;
    using Callbacks = DfsCallbacks;
    using IntegralCallbacks = DfsIntegralCallbacks;
    static float& scale(DfTask& task) { return task.scale.s; }
    static float scale(const DfTask& task) { return task.scale.s; }
};

template <>
struct Precision<double> {
    using CellCallback = DfdCellCallback;
    using SiteCallback = DfdSiteCallback;
    using Callbacks = DfdCallbacks;
    using IntegralCallbacks = DfdIntegralCallbacks;
    static double& scale(DfTask& task) { return task.scale.d; }
    static double scale(const DfTask& task) { return task.scale.d; }
};

template <class T>
using CellCallback = typename Precision<T>::CellCallback;

}  // namespace ozk::df
