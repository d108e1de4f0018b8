// What the bundler takes in as text.
declare module "*.csv" {
  const text: string;
  export default text;
}
