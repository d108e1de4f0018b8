// One instance of the module that answers tasks, in a worker or on the page's own thread. A trap
// costs the task that met it; a fresh instance takes the next.
import { Engine } from "./engine";
import { Task, run } from "./tasks";

export type Outcome = {answer: unknown} | {fault: string};

export class Runner {
  private engine: Engine | null = null;
  constructor(private readonly module: WebAssembly.Module) {}

  async run(task: Task): Promise<Outcome> {
    try {
      if (!this.engine || this.engine.broken) {
        this.engine = new Engine(await WebAssembly.instantiate(this.module, {}));
      }
      return {answer: run(this.engine, task)};
    } catch (fault) {
      if (fault instanceof WebAssembly.RuntimeError) {
        return {fault: "The engine stopped at this curve; the others are not touched."};
      }
      return {fault: fault instanceof Error ? fault.message : String(fault)};
    }
  }
}
