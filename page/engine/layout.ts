// Records of the module's memory as objects, by the layouts that the compiler told.

/** A field: where it lies, what it holds, and how many, row after row. */
export interface Place {
  offset: number;
  of: "i32" | "f64" | "pointer" | Layout<any>;
  shape: number[];
}

export interface Layout<T> {
  size: number;
  fields: {[K in keyof T]: Place};
}

const sizeOf = (of: Place["of"]) => (typeof of === "object" ? of.size : of === "f64" ? 8 : 4);

function readPlace(view: DataView, at: number, of: Place["of"], shape: number[]): unknown {
  if (shape.length > 0) {
    const [count, ...rest] = shape;
    const step = rest.reduce((product, n) => product * n, sizeOf(of));
    return Array.from({length: count}, (_, i) => readPlace(view, at + i * step, of, rest));
  }
  if (typeof of === "object") return readRecord(view, at, of);
  return of === "f64" ? view.getFloat64(at, true) : view.getInt32(at, true);
}

export function readRecord<T>(view: DataView, at: number, layout: Layout<T>): T {
  const record = {} as T;
  for (const name in layout.fields) {
    const {offset, of, shape} = layout.fields[name];
    record[name] = readPlace(view, at + offset, of, shape) as T[typeof name];
  }
  return record;
}

function writePlace(view: DataView, at: number, of: Place["of"], shape: number[], value: any) {
  if (shape.length > 0) {
    const [count, ...rest] = shape;
    const step = rest.reduce((product, n) => product * n, sizeOf(of));
    for (let i = 0; i < count; ++i) writePlace(view, at + i * step, of, rest, value[i]);
  } else if (typeof of === "object") {
    writeRecord(view, at, of, value);
  } else if (of === "f64") {
    view.setFloat64(at, value, true);
  } else {
    view.setInt32(at, value, true);
  }
}

export function writeRecord<T>(view: DataView, at: number, layout: Layout<T>, record: T) {
  for (const name in layout.fields) {
    const {offset, of, shape} = layout.fields[name];
    writePlace(view, at + offset, of, shape, record[name]);
  }
}
