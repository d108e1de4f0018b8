// Gives files to be saved: tables, pictures, sessions.
import { Markup, h, toText } from "../figure/markup";
import { toPng } from "../figure/png";
import { BUILD } from "./build";

/** A name that is a file's on every system, and stays in its folder. */
export const fileName = (name: string, suffix: string) =>
  `${name.replace(/[^\p{L}\p{N} _.-]+/gu, "_").replace(/^[. ]+/, "").slice(0, 80) || "curve"}.${suffix}`;

export function download(name: string, content: BlobPart, type: string) {
  const link = document.createElement("a");
  link.href = URL.createObjectURL(new Blob([content], { type }));
  link.download = name;
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 10000);
}

/** What a picture says of where it comes from. */
export const ORIGIN = `ZOLT ${BUILD.version}, module ${BUILD.module}`;

export async function downloadPicture(picture: Markup, name: string, kind: "svg" | "png") {
  if (kind === "png") return download(fileName(name, "png"), await toPng(picture, ORIGIN), "image/png");
  const told = h("svg", picture.attributes, h("metadata", {}, ORIGIN), ...picture.children);
  download(fileName(name, "svg"), `<?xml version="1.0" encoding="UTF-8"?>\n${toText(told)}\n`, "image/svg+xml");
}
