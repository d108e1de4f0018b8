// A worker: gets the module, then a task at a time.
import { Runner } from "./runner";
import { Task } from "./tasks";

export type ToWorker = {module: WebAssembly.Module | Uint8Array} | {task: Task};

export function serve(scope: {onmessage: unknown; postMessage(message: unknown): void}) {
  let runner: Runner;
  scope.onmessage = async ({data}: MessageEvent<ToWorker>) => {
    if ("task" in data) {
      scope.postMessage(await runner.run(data.task));
      return;
    }
    const {module} = data;
    runner = new Runner(module instanceof WebAssembly.Module ? module : await WebAssembly.compile(module));
    scope.postMessage("ready");
  };
}
