// The curve that the page opens with: simulated, as its first lines say.
import text from "../../examples/fkbp12_urea.csv";

export const EXAMPLE = { name: "fkbp12_urea.csv (simulated)", text };
