// SPDX-License-Identifier: Apache-2.0
// Requests to the server that the page came from.

const token = document.querySelector('meta[name="token"]').content;
const GONE = 410;

class Refusal extends Error {
  constructor(status, text) {
    super(text);
    this.status = status;
  }
}

async function readRefusal(response) {
  try {
    return new Refusal(response.status, say((await response.json()).error));
  } catch {
    return new Refusal(response.status, response.statusText);
  }
}

async function ask(path, fields = {}) {
  let response;
  try {
    response = await fetch(`/print/${path}`, {
      method: "POST", body: new URLSearchParams(fields), credentials: "omit",
      headers: { Authorization: `Bearer ${token}` } });
  } catch {
    throw new Refusal(0, say("The server does not answer."));
  }
  if (!response.ok) throw await readRefusal(response);
  return response;
}

async function askJson(path, fields) {
  return (await ask(path, fields)).json();
}

// Figures, and behind them a picture; null where there is none.
async function askPicture(path, fields) {
  const bytes = new Uint8Array(await (await ask(path, fields)).arrayBuffer());
  const end = bytes.indexOf(10);
  const figures = JSON.parse(new TextDecoder().decode(bytes.subarray(0, end)));
  const png = bytes.subarray(end + 1);
  const picture = png.length === 0 ? null
    : await createImageBitmap(new Blob([png], { type: "image/png" }));
  return { figures, picture };
}

// Sends a file; `progress` is told how much of it has gone, from 0 to 1.
function sendFile(file, progress) {
  return new Promise((resolve, reject) => {
    const request = new XMLHttpRequest();
    request.open("POST", "/print/upload");
    request.responseType = "json";
    request.setRequestHeader("Authorization", `Bearer ${token}`);
    request.setRequestHeader("Content-Type", "application/octet-stream");
    request.upload.addEventListener("progress", (event) => progress(event.loaded / file.size));
    request.addEventListener("load", () => {
      if (request.status === 200) resolve(request.response);
      else reject(new Refusal(request.status, say(request.response?.error ?? request.statusText)));
    });
    request.addEventListener("error", () => {
      reject(new Refusal(0, say("The server does not answer.")));
    });
    request.send(file);
  });
}
