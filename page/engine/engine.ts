// The two libraries in the module, as functions on plain objects. Everything numerical is theirs;
// here arguments are copied in and results out.
import * as records from "../generated/records";
import { Layout, readRecord, writeRecord } from "./layout";

type Exports = Record<string, (...values: any[]) => any> & {memory: WebAssembly.Memory};

/** One curve's readings. A NaN is a reading that does not count. */
export interface Readings {
  x: number[];
  y: number[];
  sd: number[] | null;
  temperature: number;
}

export interface OneFit {
  fit: records.Fit;
  residual: number[];
  leverage: number[];
}

/** The rows of ZOLTI_draw. */
export interface Drawing {
  x: number[];
  signal: number[];
  native: number[];
  denatured: number[];
  fraction: number[];
  derivative: number[];
  band: number[];
  energy: number[];
}

export interface Shared {
  global: records.Global;
  fits: records.Fit[];
}

/** The straight line through dG against label, by the engine's series calculation. */
export interface Trend {
  label: number[];
  dG: number[];
  error: number[];
  used: number[];
  line: number[];
}

const SIZES: [number, Layout<any>][] = [
  [records.SIZE_CURVE, records.CurveLayout],
  [records.SIZE_OPTIONS, records.OptionsLayout],
  [records.SIZE_FIT, records.FitLayout],
  [records.SIZE_EVIDENCE, records.EvidenceLayout],
  [records.SIZE_INTERVALS, records.IntervalsLayout],
  [records.SIZE_GLOBAL, records.GlobalLayout],
  [records.SIZE_DIFFERENCE, records.DifferenceLayout],
  [records.SIZE_COMPARISON, records.ComparisonLayout],
];

/** Where an array record of the engine keeps the address of its extents. */
const RECORD_SIZES = 4;

/** Memory of one call, given back when the call ends. */
class Room {
  private taken: number[] = [];
  constructor(private readonly calls: Exports) {}

  get view() {
    return new DataView(this.calls.memory.buffer);  // a call may have made the memory grow
  }
  bytes(count: number): number {
    const at = this.calls.zolt_allocate(Math.max(count, 8));
    if (at === 0) throw new Error("The browser gives no more memory.");
    this.taken.push(at);
    return at;
  }
  doubles(values: ArrayLike<number>): number {
    const at = this.bytes(8 * values.length);
    new Float64Array(this.calls.memory.buffer, at, values.length).set(values);
    return at;
  }
  integers(values: ArrayLike<number>): number {
    const at = this.bytes(4 * values.length);
    new Int32Array(this.calls.memory.buffer, at, values.length).set(values);
    return at;
  }
  readDoubles(at: number, count: number): number[] {
    return Array.from(new Float64Array(this.calls.memory.buffer, at, count));
  }
  text(at: number): string {
    const bytes = new Uint8Array(this.calls.memory.buffer, at);
    return new TextDecoder().decode(bytes.subarray(0, bytes.indexOf(0)));
  }
  record<T>(layout: Layout<T>, value?: T, count = 1): number {
    const at = this.bytes(layout.size * count);
    if (value) writeRecord(this.view, at, layout, value);
    return at;
  }
  read<T>(at: number, layout: Layout<T>): T {
    return readRecord(this.view, at, layout);
  }
  readAll<T>(at: number, layout: Layout<T>, count: number): T[] {
    return Array.from({length: count}, (_, i) => this.read(at + i * layout.size, layout));
  }
  curves(list: Readings[]): number {
    const {size} = records.CurveLayout;
    const at = this.bytes(size * list.length);
    list.forEach((curve, i) => {
      if (curve.y.length !== curve.x.length || (curve.sd && curve.sd.length !== curve.x.length)) {
        throw new Error("A curve needs as many signals as concentrations.");
      }
      const record = {
        x: this.doubles(curve.x), y: this.doubles(curve.y),
        sd: curve.sd ? this.doubles(curve.sd) : 0,
        n: curve.x.length, reserved: 0, temperature: curve.temperature,
      };
      writeRecord(this.view, at + i * size, records.CurveLayout, record);
    });
    return at;
  }
  release() {
    for (const at of this.taken) this.calls.zolt_free(at);
  }
}

export class Engine {
  /** Set when a call trapped: what the memory holds is unknown, and another instance must follow. */
  broken = false;
  private readonly calls: Exports;

  constructor(instance: WebAssembly.Instance) {
    this.calls = instance.exports as unknown as Exports;
    this.calls._initialize();
    for (const [record, layout] of SIZES) {
      if (this.calls.ZOLTI_size(record) !== layout.size) {
        throw new Error("The module and the page are not of one build.");
      }
    }
  }

  private within<T>(work: (room: Room) => T): T {
    const room = new Room(this.calls);
    try {
      const result = work(room);
      room.release();
      return result;
    } catch (fault) {
      if (fault instanceof WebAssembly.RuntimeError) this.broken = true;
      else room.release();
      throw fault;
    }
  }

  /** The hash of all results of the engine, as its tests pin it. */
  resultHash(): string {
    const hash = BigInt.asUintN(64, this.calls.zolt_result_hash());
    return hash.toString(16).padStart(16, "0");
  }

  usualOptions(): records.Options {
    return this.within((room) => {
      const at = room.record(records.OptionsLayout);
      this.calls.ZOLTI_options(at);
      return room.read(at, records.OptionsLayout);
    });
  }

  sentence(status: number): string {
    return this.within((room) => room.text(this.calls.ZOLTI_sentence(status)));
  }

  /** The engine's own analysis, with four numbers of given baselines or none: its vector. Readings ascend in x. */
  analyse(states: number, x: number[], y: number[], temperature: number, baselines: number[] | null): number[] {
    return this.within((room) => {
      const size = room.integers([1, x.length]);
      const result = room.bytes(8 * records.ENGINE_LENGTH);
      const call = this.calls[`ZOLTA_${states}state${baselines ? "_user_set_baselines" : ""}`];
      call(room.doubles(x), size, room.doubles(y), size, ...(baselines ? [room.doubles(baselines)] : []), temperature, result);
      return room.readDoubles(result, records.ENGINE_LENGTH);
    });
  }

  /** True for readings that stand far from both their neighbours. */
  spikes(y: number[]): boolean[] {
    return this.within((room) => this.unmasked(room, y.length, (...mask) =>
      this.calls.ZOLTA_ChemDenatKillSpikes(room.doubles(y), room.integers([1, y.length]), ...mask)));
  }

  /** True for readings far off a fit, which is given in the layout of the engine's vector. */
  outliers(x: number[], y: number[], vector: number[]): boolean[] {
    return this.within((room) => {
      const size = room.integers([1, x.length]);
      return this.unmasked(room, x.length, (...mask) =>
        this.calls.ZOLTA_ChemDenatOutlierRemoval(room.doubles(x), size, room.doubles(y), size, room.doubles(vector), ...mask));
    });
  }

  /** What a call that writes a mask does not keep. */
  private unmasked(room: Room, n: number, call: (mask: number, size: number) => void): boolean[] {
    const mask = room.integers(Array(n).fill(1));
    call(mask, room.integers([1, n]));
    return Array.from(new Int32Array(this.calls.memory.buffer, mask, n), (kept) => kept === 0);
  }

  private oneFit(room: Room, n: number, call: (fit: number, residual: number, leverage: number) => void): OneFit {
    const fit = room.record(records.FitLayout);
    const residual = room.bytes(8 * n), leverage = room.bytes(8 * n);
    call(fit, residual, leverage);
    return {
      fit: room.read(fit, records.FitLayout),
      residual: room.readDoubles(residual, n),
      leverage: room.readDoubles(leverage, n),
    };
  }

  fit(curve: Readings, transitions: number, options: records.Options): OneFit {
    return this.within((room) => {
      const at = room.curves([curve]), choices = room.record(records.OptionsLayout, options);
      return this.oneFit(room, curve.x.length, (...out) =>
        this.calls.ZOLTI_fit(at, transitions, choices, ...out));
    });
  }

  decide(curve: Readings, mostStates: number, options: records.Options):
      OneFit & {evidence: records.Evidence; sentence: string} {
    return this.within((room) => {
      const at = room.curves([curve]), choices = room.record(records.OptionsLayout, options);
      const evidence = room.record(records.EvidenceLayout);
      const one = this.oneFit(room, curve.x.length, (...out) =>
        this.calls.ZOLTI_decide(at, mostStates, choices, evidence, ...out));
      const buffer = room.bytes(records.SENTENCE_LENGTH);
      this.calls.ZOLTI_evidence_sentence(evidence, buffer, records.SENTENCE_LENGTH);
      return {...one, evidence: room.read(evidence, records.EvidenceLayout), sentence: room.text(buffer)};
    });
  }

  intervals(curve: Readings, options: records.Options, fit: records.Fit, method: number,
            level: number, rounds = 1000, seed = 1): records.Intervals {
    return this.within((room) => {
      const out = room.record(records.IntervalsLayout);
      this.calls.ZOLTI_intervals(
          room.curves([curve]), room.record(records.OptionsLayout, options),
          room.record(records.FitLayout, fit), method, level, rounds, BigInt(seed), out, 0);
      return room.read(out, records.IntervalsLayout);
    });
  }

  draw(fit: records.Fit, x: number[], level: number): Drawing {
    return this.within((room) => {
      const out = room.bytes(7 * 8 * x.length);
      const status = this.calls.ZOLTI_draw(
          room.record(records.FitLayout, fit), room.doubles(x), x.length, level, out);
      if (status !== records.FITTED) throw new Error(this.sentence(status));
      const row = (i: number) => room.readDoubles(out + 8 * i * x.length, x.length);
      const [signal, native, denatured, fraction, derivative, band, energy] = [0, 1, 2, 3, 4, 5, 6].map(row);
      return {x, signal, native, denatured, fraction, derivative, band, energy};
    });
  }

  fitGlobal(curves: Readings[], transitions: number, share: number, options: records.Options,
            reference: number, level: number):
      Shared & {intervals: records.Intervals[]; differences: records.Difference[]} {
    return this.within((room) => {
      const n = curves.length;
      const global = room.record(records.GlobalLayout);
      const fits = room.record(records.FitLayout, undefined, n);
      const intervals = room.record(records.IntervalsLayout, undefined, n);
      const differences = room.record(records.DifferenceLayout, undefined, n);
      this.calls.ZOLTI_fit_global(
          room.curves(curves), n, transitions, share, room.record(records.OptionsLayout, options),
          reference, level, global, fits, intervals, differences);
      return {
        global: room.read(global, records.GlobalLayout),
        fits: room.readAll(fits, records.FitLayout, n),
        intervals: room.readAll(intervals, records.IntervalsLayout, n),
        differences: room.readAll(differences, records.DifferenceLayout, n),
      };
    });
  }

  compare(curves: Readings[], options: records.Options, reference: number, level: number):
      Shared & {rows: records.Comparison[]} {
    return this.within((room) => {
      const n = curves.length;
      const global = room.record(records.GlobalLayout);
      const fits = room.record(records.FitLayout, undefined, n);
      const rows = room.record(records.ComparisonLayout, undefined, n);
      this.calls.ZOLTI_compare(
          room.curves(curves), n, room.record(records.OptionsLayout, options), reference, level,
          global, fits, rows);
      return {
        global: room.read(global, records.GlobalLayout),
        fits: room.readAll(fits, records.FitLayout, n),
        rows: room.readAll(rows, records.ComparisonLayout, n),
      };
    });
  }

  /** One dG a label and the line through them against ln(label), of fits in the layout of the engine's vector. */
  trend(labels: number[], vectors: number[][]): Trend {
    return this.within((room) => {
      const n = labels.length, made: number[] = [];
      const wrap = (kind: string, data: number, rows: number, columns: number) => {
        const record = this.calls[`ZOLTA_emxCreateWrapper_${kind}_T`](data, rows, columns);
        made.push(record, room.view.getInt32(record + RECORD_SIZES, true));
        return record;
      };
      const results = wrap("real", room.doubles(vectors.flat()), 1, n * records.ENGINE_LENGTH);
      const rows = [0, 1, 2].map(() => wrap("real", room.bytes(8 * n), 1, n));
      const used = wrap("int32", room.bytes(4 * n), 1, n);
      const line = room.bytes(4 * 8), size = room.integers([1, n]);
      this.calls.ZOLTA_dGtrend_calc(room.doubles(labels), size, results,
          room.integers(labels.map(() => 1)), size, 1, ...rows, used, line);
      // The records' storage is of this call; only what told their sizes is given back here.
      const {view} = room;
      const data = (record: number) => view.getInt32(record, true);
      const fit = room.readDoubles(line, 4), count = fit[3];
      const [label, dG, error] = rows.map((record) => room.readDoubles(data(record), count));
      const flags = Array.from({length: count}, (_, i) => view.getInt32(data(used) + 4 * i, true));
      for (const at of made) this.calls.zolt_free(at);
      return {label, dG, error, used: flags, line: fit};
    });
  }
}
