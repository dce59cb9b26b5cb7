#pragma once

#include "clock_notes.h"
#include "sink.h"
#include "whole_output.h"

#include <cstdint>
#include <string>
#include <vector>

namespace zel::acquisition {

/// A recording as a stream of JSON objects, one in each line, for a program that reads them from a
/// pipe as they come. Times are nanoseconds since 1970; "module" is its label, "signal" what the
/// signal is called in the recording; indices count all samples that the module has made.
///
///     {"type":"begin","recorder":"zel","time":0,"onHostTime":false,"modules":[{"label":"A",
///      "address":"192.168.169.20:55000","uuid":"0x0000001234AB0001","name":"Bench"}],
///      "signals":[{"module":"A","signal":"Force","reference":"AnalogIn_Connector0.Signal0",
///      "name":"Force","unit":"N","path":"","type":"Float32","rate":1200,"calibration":{}}]}
///     {"type":"samples","module":"A","signal":"Force","index":0,"time":0,"period":833333.25,
///      "values":[1.5,null]}
///     {"type":"samples","module":"A","signal":"Can","index":0,"times":[0,5],"values":[1,2]}
///     {"type":"gap","module":"A","signal":"Force","index":2,"count":5,"begin":0,"end":0,
///      "cause":"outage"}
///     {"type":"clock","module":"A","time":0,"offset":-1500,"drift":2e-06,"uncertainty":250000}
///     {"type":"end","cause":"","samples":4,"missing":5}
///
/// "rate" is in hertz, null for signals whose samples have times of their own. "period" is the
/// exact time between samples; the nth is taken n times that behind "time", rounded down. A value
/// is null where the module had none, and for infinities, which JSON has not. For each signal
/// "samples" and "gap" come in the order of their indices; a "count" of 0 says that nobody knows
/// whether samples are missing. "clock" tells what to add to the module's time for the host's, when
/// that has changed notably, every ten seconds at most. "end" comes in a recording that has come to
/// its end, or with the "cause" of one that was broken off.
class JsonlSink : public iSink {
public:
    /// The setup must outlive this. Throws SinkFailure.
    JsonlSink(const Setup& setup, const OutputTarget& target);

    bool write(const Batch& batch) override;
    bool flush() override { return m_output.write(); }
    void finish(const std::string& cause) override;
    std::uint64_t bytesWritten() const override { return m_output.file().written(); }
    std::string name() const override { return m_output.file().name(); }

private:
    void addBegin();
    void addChunk(const Batch& batch, const Chunk& chunk);
    void addGap(const Gap& gap);
    void addClock(const ClockEstimate& clock);

    const Setup& m_setup;
    WholeOutput m_output;
    TextBuffer& m_text;
    std::vector<std::string> m_names; // "module":...,"signal":... of each signal
    ClockNotes m_clocks;
    std::uint64_t m_samples = 0;
    std::uint64_t m_missing = 0;
};

} // namespace zel::acquisition
