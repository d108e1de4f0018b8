// A picture as PNG, drawn by the browser from its own SVG, with a word on its origin.
import { checkSum } from "../zip/check_sum";
import { Markup, toText } from "./markup";

export async function toPng(picture: Markup, origin: string, scale = 3): Promise<Uint8Array> {
  const url = URL.createObjectURL(new Blob([toText(picture)], { type: "image/svg+xml" }));
  try {
    const image = new Image();
    image.src = url;
    await image.decode();
    const canvas = document.createElement("canvas");
    canvas.width = Number(picture.attributes.width) * scale;
    canvas.height = Number(picture.attributes.height) * scale;
    const context = canvas.getContext("2d");
    if (!context) throw new Error("The browser draws no pictures.");
    context.drawImage(image, 0, 0, canvas.width, canvas.height);
    const blob = await new Promise<Blob | null>((resolve) => canvas.toBlob(resolve, "image/png"));
    if (!blob) throw new Error("The browser made no PNG.");
    return withText(new Uint8Array(await blob.arrayBuffer()), "Software", origin);
  } finally {
    URL.revokeObjectURL(url);
  }
}

const HEADER_END = 33;  // signature and the first chunk

/** The PNG with a chunk of text after its header. */
function withText(png: Uint8Array, keyword: string, words: string): Uint8Array {
  const body = new TextEncoder().encode(`tEXt${keyword}\0${words}`);
  const chunk = new Uint8Array(body.length + 8);
  const view = new DataView(chunk.buffer);
  view.setUint32(0, body.length - 4);
  chunk.set(body, 4);
  view.setUint32(body.length + 4, checkSum(body));
  const whole = new Uint8Array(png.length + chunk.length);
  whole.set(png.subarray(0, HEADER_END));
  whole.set(chunk, HEADER_END);
  whole.set(png.subarray(HEADER_END), HEADER_END + chunk.length);
  return whole;
}
