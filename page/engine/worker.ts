// A worker: gets the module, then a task at a time.
import { Runner } from "./runner";
import { Task } from "./tasks";

export type ToWorker = {module: WebAssembly.Module | Uint8Array} | {task: Task};

export function serve(scope: {onmessage: unknown; onmessageerror: unknown; postMessage(message: unknown): void}) {
  let runner: Runner;
  // Where a browser gives no module to a worker, the fault makes the page do without workers.
  scope.onmessageerror = () => {
    throw new Error("The module did not arrive.");
  };
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
