// Colours that the colour-blind tell apart, on paper, on a light and on a dark page.

export interface Palette {
  paper: string;
  ink: string;
  faint: string;
  point: string;
  fit: string;
  mark: string;
}

export const LIGHT: Palette = {
  paper: "#ffffff", ink: "#1a1a1a", faint: "#6b6b6b", point: "#0b4f8a", fit: "#c2410c", mark: "#a87900",
};
export const DARK: Palette = {
  paper: "#16191d", ink: "#ececec", faint: "#a0a0a0", point: "#7cc0f5", fit: "#ff9454", mark: "#f0c75e",
};

export const SERIES = ["#0072b2", "#d55e00", "#009e73", "#cc79a7", "#e69f00", "#56b4e9", "#7a5195", "#666666"];

const RAMP = [[68, 1, 84], [59, 82, 139], [33, 145, 140], [94, 201, 98], [253, 231, 37]];

/** A colour from dark violet at 0 to yellow at 1, of lightness that rises evenly. */
export function rampColour(share: number): string {
  const place = Math.min(Math.max(share, 0), 1) * (RAMP.length - 1);
  const i = Math.min(Math.floor(place), RAMP.length - 2);
  const mixed = RAMP[i].map((from, k) => Math.round(from + (RAMP[i + 1][k] - from) * (place - i)));
  return `#${mixed.map((part) => part.toString(16).padStart(2, "0")).join("")}`;
}
